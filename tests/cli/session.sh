# Sourced by the command-line tests: a private home with its own settings, data and
# mail library for one test run, removed when the test ends, and small helpers.
# Expects $lumetta set. Sets: $home, LUMETTA_LIBRARY ($home/Mail), XDG_* and HOME inside $home, TZ=UTC;
# LUMETTA_BUNDLE_PATH when a bundle folder is given as the first argument.
home=$(mktemp -d)
# Every start of the client may start the calendar application; it gets a runtime folder
# of this run's own, so it never meets another run's, and is stopped at the end.
mkdir -m 700 "$home/run"
. "$(dirname "${BASH_SOURCE[0]}")/calendars.sh"
trap 'stop_calendars; chmod -R u+w "$home"; rm -rf "$home"' EXIT
export XDG_CONFIG_HOME="$home/config" XDG_DATA_HOME="$home/data" HOME="$home" XDG_RUNTIME_DIR="$home/run"
export LUMETTA_LIBRARY="$home/Mail" TZ=UTC
# The bundle comes from the build tree, as the binary finds it on its own; naming
# the folder as well keeps the test honest when run against another build.
if [ -n "${1:-}" ]; then export LUMETTA_BUNDLE_PATH="$1"; fi
fail() { echo "FAILED: $*"; exit 1; }
# The exit status of a command, its output in $home/out and $home/err.
status() { "$@" >"$home/out" 2>"$home/err" && echo 0 || echo $?; }
