#!/usr/bin/env bash
# The shared libraries show what their headers promise: nothing beside it, and nothing less.
#
#     symbols.sh BUILD
set -euo pipefail

build=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cmake --install "$build" --prefix "$folder" >/dev/null
headers=("$folder"/include/ostrel/{Ostrel,TV})
libraries=("$folder"/lib*/libostrel.so "$folder"/lib*/libostreltv.so)
failed=0

complain() { # WHAT ..., a line each on standard input
    while read -r line; do
        echo "$*: $line"
        failed=1
    done
}

# Names of the language's own kind: "vtable for NAME", "non-virtual thunk to NAME".
of_class='(((vtable|VTT|construction vtable|typeinfo|typeinfo name) for|(non-virtual|virtual) thunk to) )?'
for library in "${libraries[@]}"; do
    nm -D --defined-only -C "$library" >"$folder/shown"
    grep -q ' Ostrel::' "$folder/shown" || complain "it shows nothing" <<<"$library"
    complain "${library##*/} shows" < <(grep -vE "^[0-9a-f]+ [A-Z] ${of_class}Ostrel::" "$folder/shown")
done

# The functions that the libraries keep to themselves, and those of them that a header declares: by
# its own name in a namespace, or as a member of a class that stands in a header.
find "$build" \( -path '*/ostrel-objects.dir/*.o' -o -path '*/ostreltv-objects.dir/*.o' \) -print0 |
    xargs -0 readelf -sW --demangle 2>/dev/null |
    awk '$4 == "FUNC" && $5 == "GLOBAL" && $6 == "HIDDEN" && $7 != "UND" {
        sub(/.*HIDDEN +[0-9]+ /, ""); sub(/\(.*/, ""); print
    }' | sort -u >"$folder/hidden"
[ -s "$folder/hidden" ] || complain "nothing is hidden" <<<"$build"
while read -r name; do
    scope=${name%::*}
    case $scope in
    Ostrel | Ostrel::TV) declaration="^[^/]*\b${name##*::}\(" ;;
    *) declaration="^ *(class|struct) (OSTREL_API )?${scope##*::}\b[^;]*\{" ;;
    esac
    ! grep -rqE "$declaration" "${headers[@]}" || complain "declared and not shown" <<<"$name"
done <"$folder/hidden"

exit $failed
