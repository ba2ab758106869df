#!/usr/bin/env bash
# Saves that cannot be made are told, never reported as done: a message file that may
# not be written (immutable) and a library on a full disk both make 'lumetta tag' exit 1
# and name the messages not saved, the summary counts only what reached the files, the
# index finds only those, and the library still opens afterwards. Each case needs
# something of the machine (chattr +i on the file system, mounting a small tmpfs as
# root); a case the machine cannot stage says so, and the test is skipped when none can.
set -euo pipefail
export LANG=C.UTF-8 LC_ALL=C.UTF-8
lumetta="$1" sample="$2" bundles="${3:-}"
. "$(dirname "$0")/session.sh" "$bundles"
staged=0
small="$home/small"
cleanup() {
  chattr -i "$LUMETTA_LIBRARY"/INBOX.mbox/Messages/*.emlx 2>/dev/null || true
  umount "$small" 2>/dev/null || true
}
trap 'cleanup; stop_calendars; chmod -R u+w "$home"; rm -rf "$home"' EXIT

"$sample" "$home/sample" >/dev/null
indexed() { "$lumetta" mdfind --count "kMDItemKeywords == \"$1\""; }

# A file that may not be written is named, and the others are saved.
"$lumetta" init >/dev/null 2>&1 || fail "init"
"$lumetta" import --mailbox INBOX "$home/sample/INBOX.mbox" >/dev/null || fail "import"
ids=$("$lumetta" ls INBOX | cut -f1 | head -3 | tr '\n' ' ')
locked=$(echo "$ids" | cut -d' ' -f2)
locked_file=$("$lumetta" --json ls INBOX | grep -o "\"id\":$locked,[^}]*\"path\":\"[^\"]*\"" | sed 's/.*"path":"//;s/"$//')
if [ -n "$locked_file" ] && chattr +i "$locked_file" 2>/dev/null; then
  staged=1
  before=$(md5sum <"$locked_file")
  # shellcheck disable=SC2086
  [ "$(status "$lumetta" tag $ids --add-keyword Locked)" = 1 ] || fail "tag over an immutable file did not fail"
  grep -q "^2 messages: added keyword Locked" "$home/out" || fail "summary: $(cat "$home/out")"
  grep -q "1 message was not saved" "$home/err" || fail "no count of unsaved messages: $(cat "$home/err")"
  grep -q "message $locked " "$home/err" || fail "the unsaved message is not named: $(cat "$home/err")"
  [ "$(md5sum <"$locked_file")" = "$before" ] || fail "the immutable file changed"
  [ "$(indexed Locked)" = 2 ] || fail "the index finds $(indexed Locked) messages, the files 2"
  "$lumetta" ls INBOX >/dev/null || fail "the library does not open after the refused write"
  # A rule's tag actions are held to the same account.
  "$lumetta" rules add Ruled --then add-keyword=Ruled >/dev/null || fail "rules add"
  # shellcheck disable=SC2086
  [ "$(status "$lumetta" rules apply Ruled $ids)" = 1 ] || fail "a rule's unsaved tags reported as done"
  grep -q "message $locked " "$home/err" || fail "the rule's unsaved message is not named: $(cat "$home/err")"
  chattr -i "$locked_file"
  # shellcheck disable=SC2086
  "$lumetta" tag $ids --add-keyword Locked >/dev/null || fail "tag after the file became writable"
  [ "$(indexed Locked)" = 3 ] || fail "the refused message was not saved later"
else
  echo "immutable file: chattr +i is not available here"
fi

# A full disk: nothing is saved, and all of it is said.
mkdir -p "$small"
if mount -t tmpfs -o size=2m tmpfs "$small" 2>/dev/null; then
  staged=1
  export LUMETTA_LIBRARY="$small/Mail"
  "$lumetta" init >/dev/null 2>&1 || fail "init on the small disk"
  "$lumetta" import --mailbox INBOX "$home/sample/INBOX.mbox" >/dev/null || fail "import on the small disk"
  total=$("$lumetta" ls INBOX | wc -l)
  # Room enough to open the indexes, not to journal the tags of every message.
  room=$(df --output=avail -B1 "$small" | tail -1)
  fallocate -l $((room - 48 * 1024)) "$small/filler"
  [ "$(status "$lumetta" tag --in INBOX --add-keyword Full)" = 1 ] || fail "tag on a full disk did not fail"
  grep -q "added keyword" "$home/out" && fail "a full disk reported as done: $(cat "$home/out")"
  grep -q "$total messages were not saved" "$home/err" || fail "no count on a full disk: $(cat "$home/err")"
  [ "$(grep -l -F '<string>Full</string>' "$LUMETTA_LIBRARY"/INBOX.mbox/Messages/*.emlx | wc -l)" = 0 ] ||
    fail "files changed on a full disk"
  rm -f "$small/filler"
  [ "$(indexed Full)" = 0 ] || fail "the index finds $(indexed Full) messages no file was saved for"
  "$lumetta" tag --in INBOX --add-keyword Full >/dev/null || fail "tag once there is room again"
  [ "$(indexed Full)" = "$total" ] || fail "not all saved once there is room"
else
  echo "full disk: cannot mount a small file system here (needs root)"
fi
[ "$staged" = 1 ] || exit 77
