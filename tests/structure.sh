#!/usr/bin/env bash
# Holds the folders to their rules: the logic stands on the standard library, include/ and platform/
# alone, the public headers on each other, and neither knows an operating system. The README's
# example is the one that is built, and every library that is built with is documented.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
status=0
complain() {
  [ -z "$2" ] && return
  printf '%s\n%s\n' "$1" "$2" >&2
  status=1
}

logic=$(git ls-files -- 'session/*.h' 'session/*.cpp' 'display/*.h' 'display/*.cpp' 'input/*.h' \
  'input/*.cpp' 'discovery/*.h' 'discovery/*.cpp' 'platform/*.h' 'platform/*.cpp' | grep -v '^platform/linux/')
standard='<[a-z_0-9]+>'
own='"(tessel|platform|session|display|input|discovery)/[A-Za-z0-9_]+\.h"'
complain "Logic may include the standard library, tessel/ and platform/ only:" \
  "$(grep -nE '^#\s*include' $logic | grep -vE "#\s*include ($standard|$own)$")"
complain "Logic may not look at the operating system:" \
  "$(grep -nE '^#\s*if.*(__linux__|__APPLE__|_WIN32|__unix__)' $logic)"
complain "The platform layer may not know the logic above it:" \
  "$(git grep -nE '#include "(session|display|input|discovery)/' -- platform)"
implemented=$(git ls-files -- session display input discovery | sed -nE 's|.*/(.+)\.cpp$|\1|p' | paste -sd '|')
complain "The platform layer may not use what the logic above it implements:" \
  "$(git grep -nE "#include \"tessel/($implemented)\.h\"" -- platform)"
complain "Public headers may include the standard library and each other only:" \
  "$(git grep -nE '^#\s*include' -- include | grep -vE "#\s*include ($standard|\"tessel/[A-Za-z0-9]+\.h\")$")"
complain "The README's example is not examples/cast.cpp:" \
  "$(diff <(sed -n '/^```cpp$/,/^```$/p' README.md | sed '1d;$d') <(sed 1d examples/cast.cpp))"
complain "packages/build.txt lists what docs/dependencies.md does not tell of:" \
  "$(grep -E '^lib|-dev$' packages/build.txt | while read -r package; do
    grep -q "$package" docs/dependencies.md || echo "$package"; done)"
exit $status
