#!/usr/bin/env bash
# package_test.sh BUILD COMPILER: how other projects take the library: installed, through CMake and
# through pkg-config, and as a folder of theirs.
set -euo pipefail
build=$1
compiler=$2
source=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../..")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

fail() { echo "$*" >&2; exit 1; }

# The example without its argument.
runs() {
  local status=0
  "$1" || status=$?
  [ $status = 2 ] || fail "$1: exit code $status"
}

# project NAME LINE: a project that takes the library by this line, for the example.
project() {
  mkdir "$folder/$1"
  cat > "$folder/$1/CMakeLists.txt" <<TXT
cmake_minimum_required(VERSION 3.25)
project($1 LANGUAGES CXX)
$2
add_executable(host $source/examples/cast.cpp)
target_link_libraries(host PRIVATE Tessel::tessel)
TXT
}

# configure NAME OPTION...
configure() {
  cmake -S "$folder/$1" -B "$folder/$1/build" -G Ninja -D CMAKE_CXX_COMPILER="$compiler" "${@:2}" \
    > "$folder/log" 2>&1 || { cat "$folder/log" >&2; fail "$1 cannot be configured"; }
}

echo "Installing"
cmake --install "$build" --prefix "$folder/usr" > "$folder/installed"
sort "$folder/installed" | uniq -d | grep . && fail "installed more than once"
for file in bin/tessel bin/tessel-hub share/tessel/VexCfg.plist share/tessel/Localizable.plist; do
  [ -f "$folder/usr/$file" ] || fail "$file is not installed"
done
[ "$(grep -c 'VexCfg\.plist' "$folder/installed")" = 1 ] || fail "the resources are installed twice"

echo "Loaded and unloaded"
python3 -c 'import ctypes, _ctypes, sys
_ctypes.dlclose(ctypes.CDLL(sys.argv[1])._handle)
sys.exit("libtessel" not in open("/proc/self/maps").read())' "$(find "$folder/usr" -name libtessel.so)" ||
  fail "the code of the threads is gone"

echo "What can be linked to"
exported=$(nm -DC --defined-only "$(find "$folder/usr" -name libtessel.so)" | cut -d' ' -f3-)
grep -q '^tessel::TSLSession::connect()$' <<< "$exported" || fail "the library's names are not told"
others=$(grep -Ev '^((typeinfo|typeinfo name|vtable) for )?tessel::' <<< "$exported" ||
  grep '^tessel::platform::' <<< "$exported" || true)
[ -z "$others" ] || fail "more than the public interface: $others"

echo "Through find_package"
project found "find_package(Tessel 1.0 REQUIRED)"
configure found -D CMAKE_PREFIX_PATH="$folder/usr"
cmake --build "$folder/found/build"
runs "$folder/found/build/host"

echo "Through pkg-config"
pc=$(find "$folder/usr" -name tessel.pc)
export PKG_CONFIG_PATH=${pc%/*}
"$compiler" -std=c++20 -o "$folder/host" "$source/examples/cast.cpp" \
  $(pkg-config --cflags --libs tessel) -Wl,-rpath,"$(pkg-config --variable=libdir tessel)"
runs "$folder/host"

echo "As a folder"
project folder "add_subdirectory($source tessel)"
configure folder -D CMAKE_INSTALL_LIBDIR=lib/some-machine
targets=$(cmake --build "$folder/folder/build" --target help)
grep -q '^tessel: phony' <<< "$targets" || fail "the library is not built"
grep -E '^(tessel_program|tessel-hub|hub_tests|example_cast): ' <<< "$targets" &&
  fail "more than the library is built"

echo "In a library folder of its machine's name"
mkdir -p "$folder/usr/lib/some-machine/pkgconfig"
mv "$folder/folder/build/tessel/tessel.pc" "$folder/usr/lib/some-machine/pkgconfig"
export PKG_CONFIG_PATH=$folder/usr/lib/some-machine/pkgconfig
for variable in prefix= libdir=/lib/some-machine includedir=/include; do
  found=$(realpath "$(pkg-config --variable="${variable%%=*}" tessel)")
  [ "$found" = "$folder/usr${variable#*=}" ] || fail "${variable%%=*} of tessel.pc: $found"
done
