#!/usr/bin/env bash
# Searching tags from the command line: tags set through the bundle are found by
# metadata queries, `mdls` shows them typed beside the client's own attributes, a query
# with a typo is refused with a pointer to the mistake, and a lost index comes back
# whole from the message files.
set -euo pipefail
lumetta="$1" sample="$2" bundles="${3:-}"
. "$(dirname "$0")/session.sh" "$bundles"

"$sample" "$home/sample" >/dev/null
"$lumetta" init >/dev/null 2>&1 || fail "init"
"$lumetta" import --mailbox Receipts "$home/sample/Receipts.mbox" >/dev/null || fail "import"
a=$("$lumetta" ls Receipts | sed -n 1p | cut -f1)
b=$("$lumetta" ls Receipts | sed -n 2p | cut -f1)
"$lumetta" tags set "$a" lumettaKeyWords --array Work,Invoice >/dev/null
"$lumetta" tags set "$a" lumettaPriority --int 4 >/dev/null
"$lumetta" tags set "$b" lumettaKeyWords --array $'w\u00f6rk' >/dev/null
"$lumetta" tags set "$b" lumettaProject Apollo >/dev/null

"$lumetta" mdls "$a" >"$home/mdls"
grep -q 'kMDItemKeywords .*(array of strings)  Work, Invoice' "$home/mdls" || { cat "$home/mdls"; fail "mdls keywords"; }
grep -q 'kMDItemStarRating .*(number)  4' "$home/mdls" || fail "mdls rating"
grep -q 'kMDItemSubject .*(string)' "$home/mdls" || fail "mdls lacks the client's attributes"
"$lumetta" mdls --json "$a" | grep -qF '"kMDItemStarRating":{"type":"number","value":4}' || fail "mdls --json"

[ "$("$lumetta" mdfind 'kMDItemKeywords == "Work"cd && kMDItemStarRating > 2' | cut -f1)" = "$a" ] \
  || fail "two-term query"
[ "$("$lumetta" mdfind --count 'kMDItemKeywords == "work"cd')" = 2 ] || fail "cd is case- and accent-blind"
[ "$("$lumetta" mdfind --count 'kMDItemKeywords == "work"c')" = 1 ] || fail "c alone heeds accents"
[ "$("$lumetta" mdfind --count 'kMDItemProjects = "apollo"cd ')" = 1 ] || fail "project"
"$lumetta" mdfind --json 'kMDItemProjects == "*"cd' | grep -q "^\[{\"id\":$b," || fail "mdfind --json"

# A typo: the usage status, the query echoed with a caret under the trouble.
[ "$(status "$lumetta" mdfind 'kMDItemKeywords == "Work')" = 2 ] || fail "unclosed quote accepted"
grep -q '\^ ' "$home/err" || { cat "$home/err"; fail "no caret under the error"; }
[ "$(status "$lumetta" mdfind 'kMDItemDueDate < $time.tomorrow')" = 2 ] || fail "unknown \$time accepted"

# Removing a tag takes it out of the index at once.
"$lumetta" tags remove "$a" lumettaPriority >/dev/null
[ "$("$lumetta" mdfind --count 'kMDItemStarRating == "*"')" = 0 ] || fail "removed tag still found"

# The index is rebuilt from the files, tags included.
rm -f "$LUMETTA_LIBRARY"/Metadata.sqlite*
"$lumetta" reindex | grep -q '^indexed ' || fail "reindex"
[ "$("$lumetta" mdfind --count 'kMDItemKeywords == "*"')" = 2 ] || fail "tags not back after reindex"
echo "metadata flow: mdls, mdfind and reindex behave"
