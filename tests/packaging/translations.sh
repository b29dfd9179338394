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
# said LANGUAGE LOCALE ARGUMENT...: the first line of what the program says without a display.
said() {
  env -u DISPLAY XDG_RUNTIME_DIR="$work" LANGUAGE="$1" LC_ALL="$2" "$program" "${@:3}" 2>&1 | head -n 1
}

while IFS='|' read -r language locale expected; do
  said=$(said "$language" "$locale" match --desktop "$work/desktop.json" zzz)
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

# In one language from end to end: with what the system, the parsers and the bus have to say. Only the doctor is English,
# for those who are asked for help.
while IFS='|' read -r arguments expected; do
  said=$(said de C.UTF-8 $arguments)
  [[ $said = $expected ]] || fail "$arguments: $said"
done <<END
tree --desktop $work/none|jumplark: $work/none ist nicht zu lesen: diese Datei oder diesen Ordner gibt es nicht
tree --desktop $0|jumplark: $0: Zeile 1, Spalte 1: Das ist kein JSON
match --nonsense q|jumplark: „--nonsense“ ist keine Option von „jumplark match“. Eine Suche, die mit einem Strich beginnt, steht hinter --.
record --desktop $work/desktop.json -o $work|jumplark: $work ist nicht zu schreiben: es ist ein Ordner
activate|jumplark: Jumplark läuft nicht und kann nicht gestartet werden: Es gibt keine X-Anzeige: *
doctor|* Jumplark from working here.
END
