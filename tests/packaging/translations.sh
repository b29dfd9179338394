#!/bin/bash
# Every catalogue has every collected text, with as many places for values, and the program speaks its language.
#
#   translations.sh PROGRAM SOURCES
set -eu
program=$1 sources=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "$*" >&2; exit 1; }

for catalogue in "$sources"/po/*.po; do
  msgcmp "$catalogue" "$sources/po/jumplark.pot" || fail "$catalogue: run scripts/translations.sh and fill in"
  msgfmt --check-format -o /dev/null "$catalogue"
  msgcat --no-wrap --no-location "$catalogue" | perl -00 -ne '
    my ($original, $text) = split /^msgstr /m;
    my @places = map { scalar(() = /\{[^{}]*\}/g) } $original, $text // "";
    if ($. > 1 && $places[0] != $places[1]) { print STDERR $_; $bad = 1 }
    END { exit $bad // 0 }' || fail "$catalogue: values have no place"
done

cat >"$work/desktop.json" <<'END'
{ "frontmost": 7, "applications": [{ "pid": 7, "bundle_id": "org.example.editor", "name": "Editor", "element": "e" }],
  "elements": { "e": { "attributes": { "AXRole": "AXApplication", "AXTitle": "Editor" } } } }
END
while IFS='|' read -r language locale expected; do
  said=$(LANGUAGE=$language LC_ALL=$locale "$program" match --desktop "$work/desktop.json" zzz 2>&1) &&
    fail "$language: something matched"
  [ "$said" = "jumplark: $expected" ] || fail "LANGUAGE=$language LC_ALL=$locale: $said"
done <<'END'
de|C.UTF-8|zu „zzz“ passt nichts, was zu sehen ist.
de_AT:en|C.UTF-8|zu „zzz“ passt nichts, was zu sehen ist.
xx:de|C.UTF-8|zu „zzz“ passt nichts, was zu sehen ist.
en|C.UTF-8|nothing that shows matches 'zzz'.
|C.UTF-8|nothing that shows matches 'zzz'.
de|C|nothing that shows matches 'zzz'.
de|xx_XX.UTF-8|nothing that shows matches 'zzz'.
END
