#!/bin/bash
# Shows the program at work on an application, in the session that it is started in: demo.sh PROGRAM PICTURE-FOLDER
set -eu
program=$1
pictures=$2
application=gtk3-widget-factory
output=$(mktemp -d)
trap 'rm -rf "$output"' EXIT
mkdir -p "$pictures"

say() { printf '\n\033[1m%s\033[0m\n' "$1"; }
show() { # show LINES COMMAND...: runs a command and prints the beginning of what it says
  local lines=$1 total
  shift
  say "\$ jumplark $*"
  "$program" "$@" >"$output/last" || { echo "jumplark $1 failed with status $?" >&2; exit 1; }
  total=$(wc -l <"$output/last")
  cut -c 1-150 "$output/last" | sed -n "1,${lines}p"
  if [ "$total" -gt "$lines" ]; then echo "... ($total lines in all)"; fi
}
picture() {
  import -silent -window root "$pictures/$1"
  echo "Saved $pictures/$1"
}

say "Starting $application on a virtual screen ($DISPLAY)"
$application >"$output/application" 2>&1 &
process=$!
trap 'kill $process 2>/dev/null; rm -rf "$output"' EXIT
timeout 30 xdotool search --sync --onlyvisible --pid "$process" >/dev/null || { echo "It did not start" >&2; exit 1; }
# On the bus a little later than on the screen.
for ((tries = 0; tries < 100; ++tries)); do
  "$program" match --app $application --json checkbutton >/dev/null 2>&1 && break
  sleep 0.1
done

show 12 tree --app $application
show 8 match --app $application checkbutton
picture before.png
show 5 act --app $application checkbutton
# The click has been sent; the application draws what it does with it.
before=$(import -silent -window root rgb:- | sha256sum)
for ((tries = 0; tries < 30; ++tries)); do
  after=$(import -silent -window root rgb:- | sha256sum)
  [ "$before" = "$after" ] && [ $tries -gt 3 ] && break
  before=$after
  sleep 0.1
done
picture after.png
say "The check box was ticked or unticked by the click: compare the two pictures."
