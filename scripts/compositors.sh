# The Wayland compositors of scripts/private-session, which reads this file: how each is started on a screen of its own.
# Sets `server`, the compositor's process, and adds to `variables` what programs of the session need.

output() { # output NAME WxH X Y SCALE: a line of its configuration
  echo "output $1 mode --custom $2 position $3 $4 scale $5"
}
seat_there() { grep -qsx held "$dir/seat.log"; }
start_sway() {
  local geometry outputs=1
  {
    echo 'xwayland enable'
    output HEADLESS-1 "$size" 0 0 "$scale"
    for geometry in ${monitors[@]+"${monitors[@]}"}; do
      [[ $geometry =~ ^([0-9]+x[0-9]+)\+([0-9]+)\+([0-9]+)(@([0-9.]+))?$ ]] ||
        give_up "--monitor needs WxH+X+Y or WxH+X+Y@SCALE, not $geometry"
      outputs=$((outputs + 1))
      output "HEADLESS-$outputs" "${BASH_REMATCH[@]:1:3}" "${BASH_REMATCH[5]:-$scale}"
    done
    [ $tiled = yes ] || printf 'for_window [%s] floating enable\n' 'app_id=".*"' 'class=".*"'
    echo "exec $(tell_environment)"
  } >"$dir/sway.config"
  [ ${#as_user[@]} = 0 ] || chown "$user:$group" "$dir/sway.config"
  (in_session env WLR_BACKENDS=headless WLR_RENDERER=pixman WLR_LIBINPUT_NO_DEVICES=1 "WLR_HEADLESS_OUTPUTS=$outputs" \
    sway -c "$dir/sway.config") </dev/null >"$dir/sway.log" 2>&1 &
  server=$!
  disown
  adopt_environment WAYLAND_DISPLAY SWAYSOCK DISPLAY
}

tell_environment() { # a command that a compositor runs once all is there
  # Under another name at first, so that it is never read half written.
  echo "env >'$dir/compositor.part' && mv '$dir/compositor.part' '$dir/compositor.environment'"
}
adopt_environment() { # adopt_environment NAME...
  wait_for "the compositor" test -e "$dir/compositor.environment"
  mapfile -t -O ${#variables[@]} variables < <(grep -E "^($(IFS='|'; echo "$*"))=" "$dir/compositor.environment")
  launch seat "$(dirname "$(readlink -f "$0")")/wayland-seat" hold
  wait_for "the pointer and the keyboard" seat_there
}
# KWin 6 takes pictures only where it has a graphics card, an X server always does: its outputs are windows there.
place_outputs() { # place_outputs COUNT WIDTH: side by side
  local windows index
  mapfile -t windows < <( (in_session env "DISPLAY=:$number" xwininfo -root -children) 2>/dev/null |
    sed -n 's/^ *\(0x[0-9a-f]*\) "KDE Wayland Compositor.*/\1/p' | sort)
  [ ${#windows[@]} = "$1" ] || return
  for ((index = 1; index < $1; ++index)); do
    (in_session env "DISPLAY=:$number" xdotool windowmove "${windows[index]}" $((index * $2)) 0) || return
  done
}
output_settings() { # output_settings COUNT WIDTH: as KWin 6 keeps them, which has its own idea of a scale
  local index known= placed=
  for ((index = 0; index < $1; ++index)); do
    known+="${known:+, }{\"connectorName\": \"X11-$index\", \"scale\": $scale,
      \"mode\": {\"width\": ${size%x*}, \"height\": ${size#*x}, \"refreshRate\": 60000}}"
    placed+="${placed:+, }{\"enabled\": true, \"outputIndex\": $index, \"priority\": $index,
      \"position\": {\"x\": $((index * $2)), \"y\": 0}}"
  done
  echo "[{\"name\": \"outputs\", \"data\": [$known]},
    {\"name\": \"setups\", \"data\": [{\"lidClosed\": false, \"outputs\": [$placed]}]}]"
}
start_kwin() {
  local geometry outputs=1 right bottom screen_of=(--virtual)
  read -r right bottom < <(awk "BEGIN { print int(${size%x*} / $scale + 0.5), int(${size#*x} / $scale + 0.5) }")
  for geometry in ${monitors[@]+"${monitors[@]}"}; do
    [ "$geometry" = "$size+$((outputs * right))+0" ] ||
      give_up "--monitor needs $size+$((outputs * right))+0 here, not $geometry"
    outputs=$((outputs + 1))
  done
  # Without the rights of the file that is installed, which nobody can use here.
  cp "$(command -v kwin_wayland)" "$dir/kwin_wayland" && chmod 755 "$dir/kwin_wayland" || give_up "no kwin_wayland"
  printf '#!/bin/sh\n%s\n' "$(tell_environment)" >"$dir/tell"
  chmod 755 "$dir/tell"
  [ ${#as_user[@]} = 0 ] || chown "$user:$group" "$dir/kwin_wayland" "$dir/tell"
  if grep -qa 'libkwin\.so\.6' "$dir/kwin_wayland"; then
    # A little wider, so that its own pointer lies beside them.
    x_server "$((outputs * ${size%x*} + 1))x${size#*x}"
    screen=$!
    (in_session env "DISPLAY=:$number" xdotool mousemove $((outputs * ${size%x*})) 0) || give_up "no pointer"
    screen_of=(--x11-display ":$number")
    output_settings $outputs "$right" >"$dir/home/.config/kwinoutputconfig.json"
    [ ${#as_user[@]} = 0 ] || chown "$user:$group" "$dir/home/.config/kwinoutputconfig.json"
    variables+=("JUMPLARK_SESSION_SCREEN=:$number")
  fi
  # Everybody may take pictures, press keys and move the pointer.
  (in_session env KWIN_WAYLAND_NO_PERMISSION_CHECKS=1 KWIN_SCREENSHOT_NO_PERMISSION_CHECKS=1 \
    "$dir/kwin_wayland" "${screen_of[@]}" --width "$right" --height "$bottom" --scale "$scale" --output-count $outputs \
    --xwayland --no-lockscreen --socket wayland-0 "$dir/tell") </dev/null >"$dir/kwin.log" 2>&1 &
  server=$!
  disown
  [ -z "${screen:-}" ] || wait_for "the screen of KWin" place_outputs $outputs "${size%x*}"
  adopt_environment WAYLAND_DISPLAY DISPLAY
}

weston_there() { # it starts its shell once it answers
  [ -S "$dir/run/wayland-0" ] && grep -qs "launching '.*/weston-desktop-shell'" "$dir/weston.log"
}
start_weston() {
  (in_session weston --backend=headless-backend.so --use-pixman --width="${size%x*}" --height="${size#*x}" \
    --socket=wayland-0 --no-config) </dev/null >"$dir/weston.log" 2>&1 &
  server=$!
  disown
  variables+=(WAYLAND_DISPLAY=wayland-0)
  wait_for "the compositor" weston_there
}

# --- GNOME Shell, which wants the session bus, and a system bus on which there may be nobody
gnome_there() {
  kill -0 "$server" 2>/dev/null || give_up "GNOME Shell has ended"
  (in_session "$scripts/gnome-seat" ready) >/dev/null 2>&1
}
start_gnome() {
  local extensions=$dir/home/.local/share/gnome-shell/extensions programs=() enabled="'session@jumplark.test'" geometry
  local virtual=(--virtual-monitor "$size") version session=$extensions/session@jumplark.test
  for geometry in ${monitors[@]+"${monitors[@]}"}; do virtual+=(--virtual-monitor "${geometry%%+*}"); done
  IFS=: read -r -a programs <<<"${JUMPLARK_SESSION_PROGRAMS:-}"
  [ ${#programs[@]} -gt 0 ] || mapfile -t programs < <(find "$scripts/../build" -maxdepth 5 -path "$scripts/../build/newer" -prune -o -type f \
    \( -name jumplark -o -name press_and_wait \) -exec readlink -f {} + 2>/dev/null)
  [ $extension = no ] || enabled+=", 'jumplark@brindlefox.com'"
  version=$(gnome-shell --version | grep -o '[0-9.]*')
  mkdir -p "$session" "$dir/home/.config/glib-2.0/settings"
  "$scripts/../packaging/gnome-shell/assemble" "$version" \
    "$extensions/jumplark@brindlefox.com" ${programs[@]+"${programs[@]}"} || give_up "the extension was not put together"
  cp "$scripts"/gnome-session/* "$session/"
  # Since 45 extensions are modules.
  [ "${version%%.*}" -lt 45 ] || sed -i -e "s|^const Main = .*|import * as Main from 'resource:///org/gnome/shell/ui/main.js';|" \
    -e '$a export default class { enable() { enable(); } disable() { disable(); } }' "$session/extension.js"
  cat >"$dir/home/.config/glib-2.0/settings/keyfile" <<KEYS
[org/gnome/shell]
enabled-extensions=[$enabled]
disable-user-extensions=false
welcome-dialog-last-shown-version='99'
[org/gnome/desktop/notifications]
show-banners=false
[org/gnome/desktop/wm/keybindings]
switch-input-source-backward=@as []
KEYS
  cat >"$dir/system.conf" <<XML
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type> <listen>unix:path=$dir/run/system-bus</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/> <allow eavesdrop="true"/> <allow own="*"/>
  </policy>
</busconfig>
XML
  if [ "$scale" != 1 ]; then
    cat >"$dir/home/.config/monitors.xml" <<XML
<monitors version="2"><configuration><logicalmonitor>
  <x>0</x><y>0</y><scale>$scale</scale><primary>yes</primary>
  <monitor>
    <monitorspec>
      <connector>Meta-0</connector><vendor>MetaVendor</vendor><product>MetaVirtualMonitor</product><serial>0x00</serial>
    </monitorspec>
    <mode><width>${size%x*}</width><height>${size#*x}</height><rate>60.000</rate></mode>
  </monitor>
</logicalmonitor></configuration></monitors>
XML
    variables+=("JUMPLARK_SESSION_STAGE_SCALE=$scale")
  fi
  [ ${#as_user[@]} = 0 ] || chown -R "$user:$group" "$dir"
  variables+=("DBUS_SYSTEM_BUS_ADDRESS=unix:path=$dir/run/system-bus")
  launch system-bus dbus-daemon "--config-file=$dir/system.conf" --nofork --nopidfile
  system_bus_there() { [ -S "$dir/run/system-bus" ]; }
  wait_for "the system bus" system_bus_there
  (in_session gnome-shell --headless --wayland "${virtual[@]}") </dev/null >"$dir/gnome.log" 2>&1 &
  server=$!
  disown
  variables+=(WAYLAND_DISPLAY=wayland-0)
  wait_for "GNOME Shell" gnome_there
  mapfile -t -O ${#variables[@]} variables < <( (in_session "$scripts/gnome-seat" environment) )
}
