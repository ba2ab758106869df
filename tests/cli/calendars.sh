# Sourced by the command-line tests. stop_calendars ends every lumetta-calendar started
# with this run's runtime folder ($home/run) and waits for them to go: every client start
# may start one, detached, and one whose socket went away, or that a command still
# running started late, can no longer be told to quit. The folder in its environment
# says whose it is.
stop_calendars() {
  local process pid pids=""
  for process in /proc/[0-9]*; do
    case "$(tr '\0' '\n' 2>/dev/null <"$process/cmdline" | head -n 1)" in
      lumetta-calendar | */lumetta-calendar) ;;
      *) continue ;;
    esac
    if tr '\0' '\n' 2>/dev/null <"$process/environ" | grep -qxF "XDG_RUNTIME_DIR=$home/run"; then
      pid=${process#/proc/}
      kill -CONT "$pid" 2>/dev/null || true
      kill "$pid" 2>/dev/null || true
      pids="$pids $pid"
    fi
  done
  for pid in $pids; do
    for _ in $(seq 50); do
      calendar_running "$pid" || break
      sleep 0.1
    done
    if calendar_running "$pid"; then kill -KILL "$pid" 2>/dev/null || true; fi
  done
}
# Ended means gone or a zombie: nothing here is its parent, and not every system reaps.
calendar_running() {
  [ -r "/proc/$1/stat" ] && ! grep -q ') Z ' "/proc/$1/stat" 2>/dev/null
}
