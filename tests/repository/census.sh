#!/bin/bash
# The census names what has no text, lies outside the window or is told twice, and counts it.
#
#   census.sh JUMPLARK SOURCE
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
children= elements=
thing() { # thing ID ROLE X Y WIDTH HEIGHT FURTHER-ATTRIBUTES
  children+=${children:+,}"{\"ref\":\"$1\"}"
  elements+=",\"$1\":{\"attributes\":{\"AXRole\":\"AX$2\",\"AXPosition\":{\"point\":[$3,$4]},\"AXSize\":{\"size\":[$5,$6]}$7}}"
}
thing save Button 110 110 80 20 ',"AXTitle":"Save"'
thing bare CheckBox 110 140 80 20 ',"AXValue":1'
thing captioned Slider 110 170 80 20 ',"AXTitleUIElement":{"ref":"caption"}'
thing caption StaticText 200 170 80 20 ',"AXValue":"Volume"'
thing over Button 111 110 80 20 ',"AXDescription":"Saves"'
thing inner StaticText 205 172 70 10 ',"AXValue":"Volume"'
thing far Button 495 200 80 20 ',"AXTitle":"Far"'
cat >"$work/desktop.json" <<JSON
{"screens":[[0,0,1000,800]],"frontmost":1,"applications":[{"pid":1,"bundle_id":"b","element":"a"}],"elements":{
"a":{"attributes":{"AXRole":"AXApplication","AXFocusedWindow":{"ref":"w"}}},
"w":{"attributes":{"AXRole":"AXWindow","AXPosition":{"point":[100,100]},"AXSize":{"size":[400,300]},
     "AXChildren":[$children]}}$elements}}
JSON
"$2/scripts/census" --program "$1" --name Sample --desktop "$work/desktop.json" >"$work/told"
diff - "$work/told" <<'TEXT'
    2 no text: CheckBox "" at 110,140 size 80x20
    7 outside: Button "Far" at 495,200 size 80x20
    5 twice, as 1: Button "Saves" at 111,110 size 80x20
    6 twice, as 4: StaticText "Volume" at 205,172 size 70x10
Sample: 7 elements, 6 with text, 1 without, 1 outside, 2 told twice
TEXT
