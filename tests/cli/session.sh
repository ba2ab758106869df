# Sourced by the command-line tests: a private home with its own settings, data and
# mail library for one test run, removed when the test ends, and small helpers.
# Sets: $home, LUMETTA_LIBRARY ($home/Mail), XDG_* and HOME inside $home, TZ=UTC;
# LUMETTA_BUNDLE_PATH when a bundle folder is given as the first argument.
home=$(mktemp -d)
trap 'chmod -R u+w "$home"; rm -rf "$home"' EXIT
export XDG_CONFIG_HOME="$home/config" XDG_DATA_HOME="$home/data" HOME="$home"
export LUMETTA_LIBRARY="$home/Mail" TZ=UTC
# The bundle comes from the build tree, as the binary finds it on its own; naming
# the folder as well keeps the test honest when run against another build.
if [ -n "${1:-}" ]; then export LUMETTA_BUNDLE_PATH="$1"; fi
fail() { echo "FAILED: $*"; exit 1; }
# The exit status of a command, its output in $home/out and $home/err.
status() { "$@" >"$home/out" 2>"$home/err" && echo 0 || echo $?; }
