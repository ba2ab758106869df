#!/usr/bin/env bash
# A new user's first session with a mail library, through the command line: make a
# library, import mail, list, read, copy and mark it, adopt a copied mailbox, and
# get clear errors for what does not exist.
set -euo pipefail
lumetta="$1" sample="$2" fixtures="$3"
home=$(mktemp -d)
mkdir -m 700 "$home/run"
. "$(dirname "$0")/calendars.sh"
trap 'stop_calendars; chmod -R u+w "$home"; rm -rf "$home"' EXIT
export XDG_CONFIG_HOME="$home/config" XDG_DATA_HOME="$home/data" HOME="$home" XDG_RUNTIME_DIR="$home/run"
export LUMETTA_LIBRARY="$home/Mail"
fail() { echo "FAILED: $*"; exit 1; }

"$sample" "$home/sample" >/dev/null
"$lumetta" init 2>/dev/null | grep -q 'INBOX' || fail "init"
"$lumetta" import --mailbox Projects/Apollo "$home/sample/Projects_Apollo.mbox" | grep -q 'imported 60 messages' \
  || fail "import"
[ "$("$lumetta" ls Projects/Apollo | wc -l)" = 60 ] || fail "ls count"
first=$("$lumetta" ls Projects/Apollo | sed -n 1p | cut -f1)
"$lumetta" show "$first" | grep -q '^Subject: ' || fail "show"
"$lumetta" --json show "$first" | grep -q "\"id\":$first" || fail "show --json"
"$lumetta" copy "$first" --to Trash | grep -q "copied $first to Trash" || fail "copy"
[ "$("$lumetta" ls Trash | wc -l)" = 1 ] || fail "copy landed"
"$lumetta" mark "$first" --flagged >/dev/null
"$lumetta" --json show "$first" | grep -q '"flags":16' || fail "mark --flagged"
copied="$home/Copied.mbox"
cp -r "$fixtures/layout-example" "$copied"
chmod -R u+w "$copied"
"$lumetta" adopt "$copied" | grep -q 'adopted 1 message in 1 mailbox' || fail "adopt mailbox"
"$lumetta" ls Copied | grep -q 'Fwd: Lorem ipsum' || fail "adopted message listed"

# A file dropped into a mailbox by hand shows up after a rebuild.
cp "$fixtures/01-mail10.3-full-multipart-alt-114862.emlx" "$LUMETTA_LIBRARY/INBOX.mbox/Messages/114862.emlx"
"$lumetta" rebuild INBOX | grep -q 'rebuilt INBOX: 1 message$' || fail "rebuild"
"$lumetta" strip-attachments 114862 2>/dev/null && fail "stripped a message without attachments" || true
"$lumetta" ls INBOX | grep -q Lorem || fail "message without attachments was lost"

# Errors name what is wrong and exit non-zero.
if "$lumetta" show 999999 2>"$home/err"; then fail "show of a missing message succeeded"; fi
grep -q 'no message 999999' "$home/err" || fail "missing message error"
if "$lumetta" ls Nowhere 2>"$home/err"; then fail "ls of a missing mailbox succeeded"; fi
if "$lumetta" --library "$home/none" ls 2>"$home/err"; then fail "missing library accepted"; fi
grep -q "lumetta init" "$home/err" || fail "missing library hint"
if "$lumetta" adopt "$fixtures" 2>"$home/err" >/dev/null; then fail "adopted a read-only folder"; fi
"$lumetta" mark 2>/dev/null && fail "mark without ids" || [ $? = 2 ] || fail "usage exit status"
echo "library flow: init, import, ls, show, copy, mark, adopt and errors behave"
