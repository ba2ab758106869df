#!/usr/bin/env bash
# Tagging many messages at once, as a new user would: every option explained in --help,
# a whole mailbox tagged in one call with the files and the index following at once
# (mdfind and smart mailboxes see it), several changes applied in their documented
# order, typos refused with nothing changed, and the keyword and project lists and the
# settings edited by name. Needs the Lumetta bundle.
set -euo pipefail
export LANG=C.UTF-8 LC_ALL=C.UTF-8
lumetta="$1" sample="$2" bundles="${3:-}"
. "$(dirname "$0")/session.sh" "$bundles"

"$sample" "$home/sample" >/dev/null
"$lumetta" init >/dev/null 2>&1 || fail "init"
"$lumetta" import --mailbox Receipts "$home/sample/Receipts.mbox" >/dev/null || fail "import"
"$lumetta" import --mailbox INBOX "$home/sample/INBOX.mbox" >/dev/null || fail "import"
receipts=$("$lumetta" ls Receipts | wc -l)
a=$("$lumetta" ls Receipts | sed -n 1p | cut -f1)
b=$("$lumetta" ls INBOX | sed -n 1p | cut -f1)
tags() { "$lumetta" tags show "$1"; }
count() { "$lumetta" mdfind --count "$1"; }

# The help names every option, each with an example or its accepted values.
"$lumetta" tag --help >"$home/help"
for option in --in --smart --where --any --clear-all --clear-keywords --set-keywords --remove-keyword \
  --add-keyword --project --clear-project --priority --due --move-due --use-today --note --before --after; do
  grep -q -- "$option" "$home/help" || fail "--help does not explain $option"
done
grep -q 'Examples:' "$home/help" || fail "--help has no examples"

# A smart mailbox made before the tagging fills without a refresh.
"$lumetta" smart add Paid keyword=paid >/dev/null || fail "smart add"
"$lumetta" tag --in Receipts --add-keyword paid >"$home/out" || fail "tag --in"
grep -q "^$receipts messages: added keyword paid" "$home/out" || { cat "$home/out"; fail "summary"; }
[ "$(count 'kMDItemKeywords == "paid"')" = "$receipts" ] || fail "mdfind does not see the keyword"
[ "$("$lumetta" smart show Paid | wc -l)" = "$receipts" ] || fail "smart show does not see the keyword"
grep -q 'lumettaKeyWords = paid' <(tags "$a") || fail "record"

# Several changes in one call, in the documented order: the keywords are replaced
# before one is added, and the note goes after the note set earlier.
"$lumetta" tag "$a" "$b" --note 'First.' >/dev/null
"$lumetta" tag "$a" "$b" --add-keyword late --set-keywords 'one, two' --priority 4 --project Apollo \
  --due 2026-03-07 --note ' Then.' --after >"$home/out" || fail "several changes"
grep -q '^2 messages: set keywords to one, two, added keyword late, set project to Apollo, set priority to 4' \
  "$home/out" || { cat "$home/out"; fail "summary of several changes"; }
tags "$a" >"$home/tags"
grep -q 'lumettaKeyWords = one, two, late' "$home/tags" || { cat "$home/tags"; fail "keyword order"; }
grep -q 'lumettaAnnotation = First. Then.' "$home/tags" || fail "note placement"
grep -q 'lumettaDueDateState = 1' "$home/tags" || fail "due date state"
[ "$(count 'kMDItemProjects == "Apollo" && kMDItemStarRating == 4')" = 2 ] || fail "index after several changes"

# Moving due dates, and switching them off, through the same dialogs as the menus.
"$lumetta" tag "$a" --move-due=-2 >/dev/null || fail "move-due"
grep -q 'lumettaDueDate = 2026-03-05' <(tags "$a") || { tags "$a"; fail "moved date"; }
"$lumetta" tag "$a" --due off >/dev/null && grep -q 'lumettaDueDateState = 0' <(tags "$a") || fail "due off"

# Mistakes are refused before anything changes: the usage status and a clear message.
tags "$a" >"$home/before"
for bad in "--add-keywrd x" "--due 2026-02-30" "--due tomorow" "--priority 9" "--move-due soon" \
  "--before --add-keyword x" "--project P --clear-project" "--use-today --add-keyword x"; do
  # shellcheck disable=SC2086
  [ "$(status "$lumetta" tag "$a" $bad)" = 2 ] || fail "accepted: $bad"
  [ -s "$home/err" ] || fail "no message for: $bad"
done
grep -q 'no such day\|not a date' <("$lumetta" tag "$a" --due 2026-02-30 2>&1) || fail "date error unclear"
[ "$(status "$lumetta" tag 999999 --add-keyword x)" = 1 ] || fail "unknown message accepted"
[ "$(status "$lumetta" tag --in Nowhere --add-keyword x)" = 1 ] || fail "unknown mailbox accepted"
tags "$a" | cmp -s - "$home/before" || fail "a refused command changed tags"

# --where picks by criteria; clear-all removes everything, also from the index.
"$lumetta" tag --where keyword=late --clear-all >"$home/out" || fail "clear-all"
grep -q '^2 messages: cleared all tags' "$home/out" || fail "clear-all summary"
[ "$(count 'kMDItemProjects == "*"')" = 0 ] || fail "project left in the index"
grep -q '(no tags)' <(tags "$b") || fail "tags left after clear-all"

# The keyword and project lists, as the menus use them.
"$lumetta" keywords add Work Home Travel Receipts >/dev/null || fail "keywords add"
"$lumetta" keywords move 1 3 4 >"$home/list" || fail "keywords move"
[ "$(cut -f2 "$home/list" | tr '\n' ' ')" = "Home Work Travel Receipts " ] || { cat "$home/list"; fail "move"; }
"$lumetta" keywords remove Travel >/dev/null || fail "keywords remove"
[ "$("$lumetta" keywords list --json)" = '["Home","Work","Receipts"]' ] || fail "keywords list"
[ "$(status "$lumetta" keywords add Home)" = 1 ] || fail "a duplicate keyword was added"
"$lumetta" projects add Apollo >/dev/null && "$lumetta" projects add-separator >/dev/null &&
  "$lumetta" projects add Zephyr >/dev/null || fail "projects"
[ "$("$lumetta" projects list --json)" = '["Apollo","-","Zephyr"]' ] || fail "projects list"

# Settings by name, written as the preferences pane writes them.
"$lumetta" settings alarm-time 7:05 >/dev/null || fail "alarm-time"
[ "$("$lumetta" defaults read lumettaAlarmTime)" = "07:05" ] || fail "alarm time not two digits"
"$lumetta" settings show-tags-panel manually >/dev/null || fail "show-tags-panel"
[ "$("$lumetta" settings show-tags-panel)" = manually ] || fail "show-tags-panel read"
"$lumetta" settings default-calendar none >/dev/null
[ "$("$lumetta" defaults read lumettaDefaultCalendar)" = "" ] || fail "no calendar is the empty string"
[ "$(status "$lumetta" settings alarm-time 7:65)" = 2 ] || fail "a bad time accepted"
[ "$(status "$lumetta" settings alarm-tme 7:05)" = 2 ] || fail "an unknown setting accepted"
echo "tag flow: bulk tagging, lists and settings behave"
