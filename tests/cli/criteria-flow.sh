#!/usr/bin/env bash
# The client's own criteria from the command line: `find` evaluates them message by
# message, a smart mailbox answers its body search from the index and agrees with it,
# flag changes show without a refresh, and mistakes are refused without harm.
set -euo pipefail
export LANG=C.UTF-8 LC_ALL=C.UTF-8
lumetta="$1" sample="$2" bundles="${3:-}"
. "$(dirname "$0")/session.sh" "$bundles"

"$sample" "$home/sample" >/dev/null
"$lumetta" init >/dev/null 2>&1 || fail "init"
"$lumetta" import --mailbox Receipts "$home/sample/Receipts.mbox" >/dev/null || fail "import"
"$lumetta" import --mailbox Apollo "$home/sample/Projects_Apollo.mbox" >/dev/null || fail "import"
count() { "$lumetta" "$@" | wc -l; }

# Accents and case do not matter; a name and an address find the same person.
n=$(count find from~LINDSTROM)
[ "$n" -gt 0 ] && [ "$n" = "$(count find from~asa@example.se)" ] || fail "from by name and by address differ"
[ "$(count find --in Receipts from~lindstrom)" -lt "$n" ] || fail "--in does not narrow"
# Any is the union of the parts, all their intersection.
re=$(count find 'subject^=re:') ada=$(count find from~ada) both=$(count find 'subject^=re:' from~ada)
[ "$(count find --any 'subject^=re:' from~ada)" = $((re + ada - both)) ] || fail "--any is not the union"
"$lumetta" find 'subject^=Re:' | cut -f5 | grep -qiv '^re:' && fail "a subject not beginning with Re:"
"$lumetta" --json find from~ada | grep -q '^\[{"id":[0-9]*,"mailbox":"' || fail "find --json"

# Flags are read when the criterion is, so a mark shows at once.
id=$("$lumetta" ls Receipts | sed -n 1p | cut -f1)
"$lumetta" mark "$id" --flagged >/dev/null
[ "$("$lumetta" find flagged | cut -f1)" = "$id" ] || fail "flagged"
"$lumetta" smart add Flagged flagged unread >/dev/null || fail "smart add"
[ "$("$lumetta" smart show Flagged | cut -f1)" = "$id" ] || fail "smart flagged"
"$lumetta" mark "$id" --read >/dev/null
[ -z "$("$lumetta" smart show Flagged)" ] || fail "a read message stays in an unread smart mailbox"

# The body search is answered by the index and agrees with reading every message.
"$lumetta" smart add Budget body~budget 'subject!~zzz' >/dev/null || fail "smart add body"
[ "$("$lumetta" smart show Budget)" = "$("$lumetta" find body~budget)" ] || fail "index and memory disagree"
[ "$(count smart show Budget)" -gt 0 ] || fail "no budget mail in the sample"
"$lumetta" smart show Budget --explain >"$home/explain"
# (the Lumetta bundle, when loaded, widens the query to the note as well)
grep -q '^  index query: .*kMDItemTextContent = "budget"cd' "$home/explain" || { cat "$home/explain"; fail "explain"; }
grep -qx "  in memory:   subject!~zzz" "$home/explain" || { cat "$home/explain"; fail "explain memory"; }
"$lumetta" smart list >"$home/list"
grep -qx $'Budget\tall\tbody~budget \'subject!~zzz\'' "$home/list" || { cat "$home/list"; fail "smart list"; }
"$lumetta" smart list --json | grep -qF '{"name":"Flagged","match":"all","criteria":["flagged","unread"]}' \
  || fail "smart list --json"

# Mistakes: the usage status for what does not read, 1 for what is not there.
[ "$(status "$lumetta" find bogus=1)" = 2 ] || fail "unknown criterion accepted"
grep -q 'unknown criterion "bogus=1"' "$home/err" || fail "unknown criterion message"
[ "$(status "$lumetta" find 'received-before=2026-02-30')" = 2 ] || fail "bad date accepted"
[ "$(status "$lumetta" smart show Nothing)" = 1 ] || fail "missing smart mailbox"
[ "$(status "$lumetta" smart add Budget unread)" = 1 ] || fail "a second Budget"
[ "$(status "$lumetta" find --in Nowhere unread)" = 1 ] || fail "missing mailbox"

# A damaged list is reported and left for the user to repair.
plist="$LUMETTA_LIBRARY/SmartMailboxes.plist"
cp "$plist" "$home/saved.plist"
printf '<?xml version="1.0"?><plist><dict><key>Budget' >"$plist"
cp "$plist" "$home/damaged.plist"
[ "$(status "$lumetta" smart add Other unread)" = 1 ] || fail "added to a damaged list"
grep -q 'is damaged' "$home/err" || fail "damage not reported"
cmp -s "$plist" "$home/damaged.plist" || fail "the damaged list was overwritten"
cp "$home/saved.plist" "$plist"

"$lumetta" smart remove Budget || fail "remove"
[ "$(count smart list)" = 1 ] || fail "Budget still listed"
echo "criteria flow: find and host smart mailboxes behave"
