#!/usr/bin/env bash
# Smart mailboxes over tags, as a new user tries them: "Work, not done" and "Due this
# week" made on the sample mail fill as messages are tagged, with no refresh, answered
# from the index exactly as `find` answers message by message. Needs the Lumetta bundle.
set -euo pipefail
export LANG=C.UTF-8 LC_ALL=C.UTF-8
lumetta="$1" sample="$2" bundles="${3:-}"
. "$(dirname "$0")/session.sh" "$bundles"

"$sample" "$home/sample" >/dev/null
"$lumetta" init >/dev/null 2>&1 || fail "init"
"$lumetta" import --mailbox INBOX "$home/sample/INBOX.mbox" >/dev/null || fail "import"
a=$("$lumetta" ls INBOX | sed -n 1p | cut -f1)
b=$("$lumetta" ls INBOX | sed -n 2p | cut -f1)
c=$("$lumetta" ls INBOX | sed -n 3p | cut -f1)

"$lumetta" smart add "Work, not done" keyword=Work todo=open >/dev/null || fail "add Work, not done"
"$lumetta" smart add "Due this week" due-within=7 >/dev/null || fail "add Due this week"
shown() { "$lumetta" smart show "$1" | cut -f1 | tr '\n' ' '; }
found() { "$lumetta" find "$@" | cut -f1 | tr '\n' ' '; }
[ -z "$(shown "Work, not done")" ] || fail "an untagged library has work"

# Tagging fills the smart mailbox at once; a completed to-do takes the message out.
"$lumetta" tags set "$a" lumettaKeyWords --array Work,Home >/dev/null
"$lumetta" tags set "$b" lumettaKeyWords --array Home >/dev/null
[ "$(shown "Work, not done")" = "$a " ] || fail "tagged message not in Work, not done: $(shown "Work, not done")"
[ "$(shown "Work, not done")" = "$(found keyword=Work todo=open)" ] || fail "index and memory disagree on work"
"$lumetta" tags set "$a" lumettaICalCompletionDate --date 2026-11-22 >/dev/null
[ -z "$(shown "Work, not done")" ] || fail "a done message is still in Work, not done"

# Due dates: three days ahead is this week, ten days ahead is not.
"$lumetta" tags set "$b" lumettaDueDate --date "$(date -u -d '+3 days' +%Y-%m-%dT%H:%M:%SZ)" >/dev/null
"$lumetta" tags set "$b" lumettaDueDateState --int 1 >/dev/null
"$lumetta" tags set "$c" lumettaDueDate --date "$(date -u -d '+10 days' +%Y-%m-%dT%H:%M:%SZ)" >/dev/null
"$lumetta" tags set "$c" lumettaDueDateState --int 1 >/dev/null
[ "$(shown "Due this week")" = "$b " ] || fail "Due this week: $(shown "Due this week")"
[ "$(found due-within=7)" = "$b " ] || fail "find due-within=7: $(found due-within=7)"

# How the smart mailbox is answered: one index query for both tag criteria.
"$lumetta" smart show "Work, not done" --explain >"$home/explain"
grep -qF 'index query: lumettaICalCompletionDate != "*"cd && kMDItemKeywords == "Work"cd' "$home/explain" \
  || { cat "$home/explain"; fail "explain"; }
grep -q 'in memory' "$home/explain" && fail "tag criteria evaluated in memory"
echo "smart tags flow: tag smart mailboxes fill as messages are tagged"
