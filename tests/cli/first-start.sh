#!/usr/bin/env bash
# A new user's first two starts of the command line: the plug-in fills in its
# settings and shows the welcome once; the second start shows nothing new.
set -euo pipefail
lumetta="$1"
home=$(mktemp -d)
mkdir -m 700 "$home/run"
. "$(dirname "$0")/calendars.sh"
trap 'stop_calendars; rm -rf "$home"' EXIT
export XDG_CONFIG_HOME="$home/config" XDG_DATA_HOME="$home/data" HOME="$home" XDG_RUNTIME_DIR="$home/run"

"$lumetta" defaults read >"$home/out1" 2>"$home/err1"
grep -q 'lumettaICalRefreshFrequency = 5;' "$home/out1" || { echo "defaults missing:"; cat "$home/out1"; exit 1; }
grep -q 'lumettaPrefVersion = "1.2.0";\|lumettaPrefVersion = 1.2.0;' "$home/out1" || { echo "no pref version"; exit 1; }
count=$(grep -c 'Welcome to Lumetta' "$home/err1" || true)
[ "$count" = 1 ] || { echo "welcome shown $count times on first start"; cat "$home/err1"; exit 1; }

"$lumetta" defaults write lumettaShowTagIcon -bool NO
"$lumetta" defaults read lumettaShowTagIcon >"$home/out2" 2>"$home/err2"
[ "$(cat "$home/out2")" = 0 ] || { echo "user's NO was overwritten: $(cat "$home/out2")"; exit 1; }
if grep -q 'Welcome to Lumetta' "$home/err2"; then echo "welcome shown again"; exit 1; fi

# A deleted setting is filled in again by the next start, with its default.
"$lumetta" defaults write lumettaAlarmTime 8:30
"$lumetta" defaults delete lumettaAlarmTime
[ "$("$lumetta" defaults read lumettaAlarmTime 2>/dev/null)" = 7:00 ] || { echo "alarm time not restored"; exit 1; }
echo "first start: defaults written once, welcome shown once"
