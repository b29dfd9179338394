#!/bin/bash
# The guide as it is installed is well-formed, all that it leads to is there, and its queries find what it says.
#
#   guide.sh BUILD
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
DESTDIR=$work cmake --install "$1" --prefix /usr >/dev/null
folder=$work/usr/share/jumplark/guide
page=$folder/index.html
failures=0
wrong() { echo "$*" >&2; failures=$((failures + 1)); }

xmllint --noout "$page" || exit 1
values() { xmllint --xpath "$1" "$page" | sed 's/^ *[a-z]*="\(.*\)"$/\1/'; }
ids=$(values //@id)
[ -z "$(sort <<<"$ids" | uniq -d)" ] || wrong "two elements of one name: $(sort <<<"$ids" | uniq -d)"
while read -r target; do
  case $target in
    '#'*) grep -qxF -- "${target#?}" <<<"$ids" || wrong "no place is called $target" ;;
    *:*) wrong "$target is not on this machine" ;;
    *) [ -s "$folder/$target" ] || wrong "$target is not installed" ;;
  esac
done < <(values '//@href | //@src')
for picture in "$folder"/*.png; do
  name=$(basename "$picture")
  size=$(identify -format 'width="%w" height="%h"' "$picture")
  [ "$(xmllint --xpath "count(//*[@src = '$name' and string(@alt)][@${size/ /][@}])" "$page")" = 1 ] ||
    wrong "$name is not shown once, in words and with $size"
done
examples=0
while IFS='|' read -r query text; do
  examples=$((examples + 1))
  printf '{"frontmost": 7, "applications": [{"pid": 7, "bundle_id": "e", "name": "E", "element": "e"}], "elements": {
    "e": {"attributes": {"AXRole": "AXApplication", "AXFocusedWindow": {"ref": "w"}}},
    "w": {"attributes": {"AXRole": "AXWindow", "AXChildren": [{"ref": "b"}], "AXPosition": {"point": [0, 0]},
                         "AXSize": {"size": [400, 300]}}},
    "b": {"attributes": {"AXRole": "AXButton", "AXTitle": "%s", "AXPosition": {"point": [9, 9]},
                         "AXSize": {"size": [90, 20]}}}}}' "$text" >"$work/desktop.json"
  "$work/usr/bin/jumplark" match --desktop "$work/desktop.json" "$query" >/dev/null || wrong "$query does not find $text"
done < <(sed -n '/id="query-examples"/,/<\/table>/s/.*<code>\(.*\)<\/code><\/th><td>\([^<]*\)<.*/\1|\2/p' "$page")
[ $examples -ge 8 ] || wrong "only $examples examples of queries were understood"
[ $failures = 0 ]
