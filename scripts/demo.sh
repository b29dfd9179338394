#!/bin/bash
# Shows the program at work on an application, in the session that it is started in: demo.sh PROGRAM PICTURE-FOLDER
set -eu
program=$1
pictures=$2
executable=gtk3-widget-factory
application="Widget Factory"
output=$(mktemp -d)
trap 'rm -rf "$output"' EXIT
mkdir -p "$pictures"

say() { printf '\n\033[1m%s\033[0m\n' "$1"; }
show() { # show LINES COMMAND...: runs a command and prints the beginning of what it says
  local lines=$1 total
  shift
  say "\$ jumplark$(printf ' %s' "${@/* */\'&\'}")"
  "$program" "$@" >"$output/last" || { echo "jumplark $1 failed with status $?" >&2; exit 1; }
  total=$(wc -l <"$output/last")
  cut -c 1-150 "$output/last" | sed -n "1,${lines}p"
  if [ "$total" -gt "$lines" ]; then echo "... ($total lines in all)"; fi
}
picture() {
  import -silent -window root "$pictures/$1"
  echo "Saved $pictures/$1"
}

say "Starting $executable on a virtual screen ($DISPLAY)"
$executable >"$output/application" 2>&1 &
process=$!
trap 'kill $process 2>/dev/null; rm -rf "$output"' EXIT
# It is on the accessibility bus a little later than on the screen.
for ((tries = 0; tries < 300; ++tries)); do
  "$program" match --app "$application" togglebutton >/dev/null 2>&1 && break
  kill -0 $process 2>/dev/null || { echo "It did not start:" >&2; cat "$output/application" >&2; exit 1; }
  sleep 0.1
done

show 14 tree --app "$application"
xdotool mousemove 200 330 # among what fits alike, the nearest to the pointer is meant
picture before.png
show 6 match --app "$application" checkb
show 3 act --app "$application" checkb
show 3 act --app "$application" middle
sleep 0.5 # the click has been sent; the application draws what it makes of it
picture after.png
say "Compare the two pictures: the check box at the pointer has changed, and the list 'Middle' is open."
