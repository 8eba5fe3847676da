#!/usr/bin/env bash
# Holds the folders to their rules. What each stands on is written in its CMakeLists and checked
# against its includes; the logic stands on the standard library and the platform's interfaces alone;
# no folders include each other in a circle; no file and no folder grows past what a reader can hold.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
status=0
complain() {
  [ -z "$2" ] && return
  printf '%s\n%s\n' "$1" "$2" >&2
  status=1
}

readonly kMaxFileLines=400
readonly kMaxFolderSources=45

sources() { git ls-files -- "${@/%//*.h}" "${@/%//*.cpp}"; }
# The portable folders: no header of an operating system or of another library.
portable=(session display input discovery wire platform/base platform/media)
standard='<[a-z_0-9]+>'

# platform/base/CLocale.h alone is told apart: POSIX locales, which each system here has.
complain "A portable folder may include the standard library and the project's own headers only:" \
  "$(grep -nE '^#\s*include' $(sources "${portable[@]}") $(git ls-files -- 'platform/*.h' 'platform/*.cpp' | grep -E '^platform/[^/]+$') |
    grep -vE "CLocale\.h:.*<locale\.h>|#\s*include ($standard|\"[A-Za-z_/]+/[A-Za-z0-9_]+\.h\")$")"
complain "The logic may include tessel/, wire/, platform/ and platform/base/ besides itself only:" \
  "$(git grep -nE '#include "(apps|platform/[a-z]+|tests)/' -- session display input discovery wire |
    grep -v '"platform/base/')"
complain "A portable folder may not look at the operating system:" \
  "$(grep -nE '^#\s*if.*(__linux__|__APPLE__|_WIN32|__unix__)' $(sources "${portable[@]}"))"
complain "The platform layer may not know the logic above it:" \
  "$(git grep -nE '#include "(session|display|input|discovery|wire|apps)/' -- platform)"
implemented=$(git ls-files -- session display input discovery | sed -nE 's|.*/(.+)\.cpp$|\1|p' | paste -sd '|')
complain "The platform layer may not use what the logic above it implements:" \
  "$(git grep -nE "#include \"tessel/($implemented)\.h\"" -- platform)"
complain "Public headers may include the standard library and each other only:" \
  "$(git grep -nE '^#\s*include' -- include | grep -vE "#\s*include ($standard|\"tessel/[A-Za-z0-9]+\.h\")$")"

# Pairs of folders, of which the first includes the second. The sources of platform/ itself bind the
# public headers to the services; nothing includes them, so they are a folder of their own here.
includes() {
  git grep -oE '^#include "[A-Za-z0-9_/-]+/' -- '*.h' '*.cpp' ':!tests' ':!bench' ':!fuzz' |
    sed -E 's|^platform/[^/]+\.cpp:|platform-binding/x:|; s|^(.*)/[^/:]+:#include "(.*)/$|\1 \2|' |
    sort -u | awk '$1 != $2'
}
complain "Folders that include each other in a circle:" \
  "$(includes | tsort 2>&1 > /dev/null | grep -v 'input contains a loop' | sed 's/^tsort: //')"

# What a folder of the library links, and what it includes.
target() {
  case $1 in
    platform/linux/dbus) echo tessel_dbus ;;
    *) echo "tessel_${1//\//_}" ;;
  esac
}
while read -r folder included; do
  case $included in tessel | platform) continue ;; esac  # the interfaces, which every folder sees
  [[ $folder == platform/* || " session display input discovery wire " == *" $folder "* ]] || continue
  grep -qE "\b$(target "$included")\b" "$folder/CMakeLists.txt" ||
    complain "$folder/CMakeLists.txt does not link what its sources include:" "  $(target "$included")"
done < <(includes)

complain "Files of more than $kMaxFileLines lines:" \
  "$(git ls-files -- '*.h' '*.cpp' | xargs wc -l | awk -v most=$kMaxFileLines '$2 != "total" && $1 > most')"
complain "Folders of more than $kMaxFolderSources sources:" \
  "$(git ls-files -- '*.h' '*.cpp' | grep -v '^tests/' | xargs -n1 dirname | sort | uniq -c |
    awk -v most=$kMaxFolderSources '$1 > most')"

complain "The README's example is not examples/cast.cpp:" \
  "$(diff <(sed -n '/^```cpp$/,/^```$/p' README.md | sed '1d;$d') <(sed 1d examples/cast.cpp))"
complain "packages/build.txt lists what docs/dependencies.md does not tell of:" \
  "$(grep -E '^lib|-dev$' packages/build.txt | while read -r package; do
    grep -q "$package" docs/dependencies.md || echo "$package"; done)"
exit $status
