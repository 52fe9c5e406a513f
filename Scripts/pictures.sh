#!/bin/sh
# Makes the pictures in Docs/Pictures from the running application.
set -eu

usage="usage: pictures.sh

Makes the pictures in Docs/Pictures from the running application, on a screen that nobody sees, at two
pixels a point, as a Mac shows it."
# shellcheck source=Scripts/arguments.sh
. "$(dirname "$0")/arguments.sh"
take_no_arguments "$@"

cd "$(dirname "$0")/.."
sh Scripts/bootstrap.sh --pictures
sh Scripts/build.sh linux Veilpane macsim StatusIconPicture TwoPixelsAPoint

build=$PWD/build/linux
# Beside the build, so that all of them are moved at once, when the last one is there.
pictures=$PWD/build/pictures
work=$(mktemp -d)
server=
application=
stop() {
    for process in "$application" "$server"; do
        [ -z "$process" ] || kill "$process" 2>/dev/null || true
    done
    rm -rf "$work" "$pictures"
}
trap stop EXIT
trap 'exit 130' INT TERM HUP
rm -rf "$pictures"
mkdir -p "$pictures"

# Waits until a command succeeds, for a minute at most.
eventually() {
    tries=0
    until "$@"; do
        tries=$((tries + 1))
        [ "$tries" -lt 600 ] || fail 1 "'$*' never held"
        sleep 0.1
    done
}

# Places and sizes are in points from here on: a screen of 1280x800 of them.
in_pixels() { # WIDTHxHEIGHT+X+Y
    echo "$1" | awk -F'[x+]' '{ printf "%dx%d+%d+%d", 2 * $1, 2 * $2, 2 * $3, 2 * $4 }'
}
point_at() { # X Y [CLICK…]: moves the mouse, and may click
    x=$1 y=$2
    shift 2
    xdotool mousemove $((2 * x)) $((2 * y)) "$@"
}

# Without RANDR its size is what Xlib tells, which is told in points.
start_screen() {
    mkfifo "$work/display"
    Xvfb -displayfd 3 -screen 0 2560x1600x24 -nolisten tcp -noreset -extension RANDR \
        3>"$work/display" >/dev/null 2>&1 &
    server=$!
    read -r number <"$work/display"
    export DISPLAY=":$number"
    convert -size 2560x1600 gradient:'#7fa7d8'-'#c9b6dd' "$work/wallpaper.png"
    show_wallpaper
}

# display ends with 1 although it has done its work.
show_wallpaper() {
    display -window root "$work/wallpaper.png" || true
    eventually has_color 1279 799 c9b6dd
}

color_at() { # X Y: as rrggbb
    import -silent -window root -crop "1x1+$((2 * $1))+$((2 * $2))" -depth 8 rgb:- | od -An -tx1 | tr -d ' \n'
}
has_color() { # X Y COLOR
    [ "$(color_at "$1" "$2")" = "$3" ]
}
lacks_color() { # X Y COLOR
    ! has_color "$@"
}

start_application() { # SCENE: of what is on the desk; nothing is the demo Mac
    export SIMULATED_MAC_SCENE="" SIMULATED_MAC_STATE="$work/state" TMPDIR="$work"
    [ $# -eq 0 ] || {
        SIMULATED_MAC_SCENE=$work/scene.json
        printf '%s' "$1" >"$SIMULATED_MAC_SCENE"
    }
    rm -rf "$SIMULATED_MAC_STATE"
    LD_PRELOAD=$build/libTwoPixelsAPoint.so "$build/Veilpane" 2>/dev/null &
    application=$!
    eventually has_color 600 5 eeeeee
}
stop_application() {
    kill $application
    wait $application 2>/dev/null || true
    application=
    show_wallpaper
}

open_menu() {
    point_at 1256 12 click 1
    eventually has_color 1000 36 f7f7f7
    point_at 640 700
}
close_menu() {
    xdotool key Escape
    eventually lacks_color 1000 36 f7f7f7
}
# The row below the header, from 0; the position follows from the heights of rows and separators.
click_switch() { # ROW
    point_at 1238 $((83 + 51 * $1)) click 1
    point_at 640 700
}
# Off is where the knob is on the left.
turn_off() { # ROW
    eventually has_color 1231 $((83 + 51 * $1)) 0a7aff
    click_switch "$1"
    eventually has_color 1231 $((83 + 51 * $1)) ffffff
}

is_still() { # WIDTHxHEIGHT+X+Y
    import -silent -window root -crop "$(in_pixels "$1")" "$work/earlier.rgb"
    import -silent -window root -crop "$(in_pixels "$1")" "$work/later.rgb"
    cmp -s "$work/earlier.rgb" "$work/later.rgb"
}
made=0
drawn() { # NAME
    made=$((made + 1))
    echo "[$made/10] $1"
}
take() { # NAME WIDTHxHEIGHT+X+Y
    eventually is_still "$2"
    import -silent -window root -crop "$(in_pixels "$2")" +repage -strip \
        -define png:exclude-chunks=date,time "$pictures/$1.png"
    drawn "$1.png"
}

names='{ "id": 1, "builtin": true, "main": true, "profilerName": "内建视网膜显示器" },
       { "id": 2, "profilerName": "Studio" }, { "id": 3, "profilerName": "投影仪" }'
long='{ "id": 1, "builtin": true, "main": true, "profilerName": "内建视网膜显示器" },
      { "id": 2, "profilerName": "A display whose maker gave it a remarkably long name 超长名称的显示器" }'

start_screen

start_application "{ \"displays\": [ $names ] }"
open_menu
take menu 340x290+940+0
turn_off 2
take menu-display-off 340x290+940+0
stop_application

start_application '{ "displays": [] }'
open_menu
take menu-no-display 340x190+940+0
stop_application

start_application "{ \"displays\": [ $long ],
    \"faults\": [ { \"call\": \"SLSConfigureDisplayEnabled\", \"nth\": 0, \"returns\": 1001 } ] }"
open_menu
turn_off 1
close_menu
open_menu
take menu-long-texts 340x280+940+0
stop_application

start_application "{ \"displays\": [ $names ],
    \"faults\": [ { \"call\": \"CGGetActiveDisplayList\", \"nth\": 0, \"returns\": 1001 } ] }"
open_menu
click_switch 1
# The button of the alert.
eventually has_color 540 455 0a7aff
take alert 340x410+470+130
stop_application

"$build/StatusIconPicture" "$pictures/status-icon.png"
drawn status-icon.png

export SIMULATED_MAC_SCENE="" SIMULATED_MAC_STATE="$work/desk"
"$build/macsim" desk "$pictures/desk-before.png"
"$build/Veilpane" --power off 2 >/dev/null
"$build/macsim" desk "$pictures/desk-after.png"
drawn desk-before.png
drawn desk-after.png

# The moving picture: the desk, and beside it the menu on the screen of its first display. What is seen of
# the screen leaves the pointer out, so it is drawn where it is.
frame() { # NAME [X Y]: of the pointer, in the picture of the screen
    "$build/macsim" desk "$work/desk.png"
    eventually is_still 340x330+940+0
    import -silent -window root -crop "$(in_pixels 340x330+940+0)" +repage "$work/menu.png"
    [ $# -eq 1 ] || convert "$work/menu.png" -fill black -stroke white -strokewidth 1 \
        -draw "scale 2,2 translate $2,$3 path 'M 0,0 L 0,17 4,13.5 7,19.5 9.8,18.2 7,12.5 12,12.5 Z'" "$work/menu.png"
    convert "$work/desk.png" -gravity center -background '#f3f1ef' -extent 1544x660 "$work/menu.png" \
        +append -strip -define png:exclude-chunks=date,time "$work/$1.png"
}
start_application
frame closed
open_menu
frame open 300 190
turn_off 2
frame off 300 190
close_menu
open_menu
frame told
click_switch 2
eventually has_color 1231 $((83 + 51 * 2)) 0a7aff
frame on 300 190
stop_application
convert -delay 120 "$work/closed.png" -delay 140 "$work/open.png" -delay 260 "$work/off.png" -delay 260 "$work/told.png" \
    -delay 180 "$work/on.png" -loop 0 +dither -colors 128 -layers Optimize "$pictures/flip.gif"
cp "$work/told.png" "$pictures/flip.png"
for name in flip.gif flip.png; do
    [ "$(wc -c <"$pictures/$name")" -lt 1000000 ] || fail 1 "$name is larger than 1 MB"
    drawn "$name"
done

mkdir -p Docs/Pictures
mv "$pictures"/* Docs/Pictures/
echo "$made pictures in Docs/Pictures"
