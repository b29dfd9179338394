#!/bin/bash
# Shows the program at work on an application, in the session that it is started in: demo.sh PROGRAM PICTURE-FOLDER
# A separate program presses the keys, as a person would.
set -eu
program=$1
pictures=$2
executable=gtk3-widget-factory
application="Widget Factory"
output=$(mktemp -d)
running=()
trap 'kill ${running[@]+"${running[@]}"} 2>/dev/null; rm -rf "$output"' EXIT
mkdir -p "$pictures"

say() { printf '\n\033[1m%s\033[0m\n' "$1"; }
fail() { # fail SENTENCE FILE
  echo "$1" >&2
  cat "$2" >&2
  exit 1
}
wait_for() { # wait_for SECONDS SENTENCE FILE COMMAND...: until the command succeeds
  local tries=$(($1 * 10)) sentence=$2 file=$3
  shift 3
  for (( ; tries > 0; --tries)); do
    "$@" >/dev/null 2>&1 && return
    sleep 0.1
  done
  fail "$sentence" "$file"
}
picture() { # picture FILE [WINDOW]
  sleep 1 # whatever moves has come to rest
  import -silent -window "${2:-root}" "$pictures/$1"
  echo "Saved $pictures/$1"
}
press() {
  say "Pressing $2"
  xdotool key "$1"
}
query_window_is_open() { xdotool search --onlyvisible --pid "$jumplark" --name '^Jumplark$'; }
query_window_is_closed() { ! query_window_is_open; }
check_boxes() { "$program" tree --app "$application" | sed -n '/Role="CheckBox"/{n;s/.*Value="\(.\)".*/\1/p}'; }
check_boxes_differ_from() { [ "$(check_boxes)" != "$1" ]; }
windows_of_jumplark() { xdotool search --onlyvisible --pid "$jumplark" | wc -l; }
more_windows_than() { [ "$(windows_of_jumplark)" -gt "$1" ]; }

say "Starting $executable on a virtual screen ($DISPLAY)"
$executable >"$output/application" 2>&1 &
running+=($!)
# It is on the accessibility bus a little later than on the screen.
wait_for 30 "$executable did not start:" "$output/application" "$program" match --app "$application" togglebutton
xdotool mousemove 200 330 # among what fits alike, the nearest to the pointer comes first
picture 1-application.png

say "Starting jumplark in the background"
# A first start welcomes its user, which is not shown here.
mkdir -p "$XDG_CONFIG_HOME/jumplark"
echo '{"shownHelpOnStart": true, "toldOfMissingStatusBar": true}' >"$XDG_CONFIG_HOME/jumplark/defaults.json"
"$program" >"$output/jumplark" 2>&1 &
jumplark=$!
running+=("$jumplark")
wait_for 30 "jumplark did not start:" "$output/jumplark" grep -q 'is running' "$output/jumplark"
cat "$output/jumplark"

press super+shift+space "Super+Shift+Space over the application: the query window opens"
wait_for 10 "The query window did not open:" "$output/jumplark" query_window_is_open
picture 2-query-window.png

say "Typing 'butt': what fits is outlined and labelled, the best is blue"
xdotool type --delay 60 butt
picture 3-matches.png

press Tab "Tab: the next best is selected"
picture 4-next-selected.png

press ctrl+d "Control+D, the letter of a label: that one is selected"
picture 5-selected-by-label.png

before=$(check_boxes)
press Return "Return: the selected one is clicked, and the keyboard is the application's again"
wait_for 10 "The query window did not close:" "$output/jumplark" query_window_is_closed
wait_for 10 "No check box was clicked:" "$output/jumplark" check_boxes_differ_from "$before"
picture 6-after-the-click.png

press super+shift+space "Super+Shift+Space again, and the pointer rests on something: a bubble says what it is"
wait_for 10 "The query window did not open:" "$output/jumplark" query_window_is_open
windows=$(windows_of_jumplark)
xdotool mousemove 190 400 mousemove 192 407
wait_for 10 "The bubble did not come:" "$output/jumplark" more_windows_than "$windows"
picture 7-details.png
press Escape "Escape: the query window closes"
wait_for 10 "The query window did not close:" "$output/jumplark" query_window_is_closed

say "jumplark preferences Help: what this desktop lacks"
"$program" preferences Help
wait_for 10 "The preferences did not open:" "$output/jumplark" xdotool search --onlyvisible --name 'Jumplark Preferences'
picture 8-help.png "$(xdotool search --onlyvisible --name 'Jumplark Preferences' | head -1)"

say "The pictures in $pictures show each step; the sixth, that the check box was clicked."
