#!/usr/bin/env bash
# What the command line keeps safe and tells plainly: a library made under the usual
# umask is its owner's alone; a message file or journal replaced by a link is refused,
# and the file it points to is left as it was; rule actions that cannot work are refused
# when the rule is saved or reported when it runs; names with control characters,
# unreadable and cut-short files are refused with a message; --json goes after the
# command's name as well; counts of one are singular. Needs the Lumetta bundle.
set -euo pipefail
export LANG=C.UTF-8 LC_ALL=C.UTF-8
lumetta="$1" sample="$2" bundles="${3:-}"
. "$(dirname "$0")/session.sh" "$bundles"
lib="$LUMETTA_LIBRARY"
mode() { stat -c %a "$1"; }
pathOf() { "$lumetta" --json ls | grep -o "\"id\":$1,[^}]*\"path\":\"[^\"]*\"" | sed 's/.*"path":"//;s/"$//'; }

# Private files and folders, whatever the umask lets others read.
"$sample" "$home/sample" >/dev/null
(umask 022 && "$lumetta" init >/dev/null 2>&1) || fail "init"
(umask 022 && "$lumetta" import --mailbox Projects/Apollo "$home/sample/Projects_Apollo.mbox" >/dev/null) ||
  fail "import"
for folder in "$lib" "$lib/INBOX.mbox" "$lib/INBOX.mbox/Messages" "$lib/Projects.mbox/Apollo.mbox/Messages"; do
  [ "$(mode "$folder")" = 700 ] || fail "$folder is $(mode "$folder"), not 700"
done
for file in "$lib/Envelope Index"* "$lib/Metadata.sqlite"* "$(pathOf 1)"; do
  [ "$(mode "$file")" = 600 ] || fail "$file is $(mode "$file"), not 600"
done

# A message file replaced by a link to a file outside the library: a tag or flag change
# fails naming the message, and the outside file is not touched.
linked=$(pathOf 2)
cp "$linked" "$home/outside.emlx"
before=$(md5sum <"$home/outside.emlx")
ln -sf "$home/outside.emlx" "$linked"
[ "$(status "$lumetta" tag 1 2 3 --add-keyword Linked)" = 1 ] || fail "a tag through a link was not refused"
grep -q "message 2 .*symbolic link" "$home/err" || fail "the linked message is not named: $(cat "$home/err")"
[ "$(status "$lumetta" mark 2 --flagged)" = 1 ] || fail "a flag change through a link was not refused"
grep -q "message 2 .*symbolic link" "$home/err" || fail "mark: $(cat "$home/err")"
[ "$(md5sum <"$home/outside.emlx")" = "$before" ] || fail "the file outside the library changed"
[ -L "$linked" ] || fail "the link was replaced"
[ "$(status "$lumetta" tags show 2)" = 1 ] || fail "tags show read through a link"
grep -q "symbolic link" "$home/err" || fail "tags show: $(cat "$home/err")"
rm "$linked" && cp "$home/outside.emlx" "$linked"

# A journal that is a link is refused; what it points to stays as it was.
echo "not a journal" >"$home/target"
rm -f "$lib/.lumetta-journal" && ln -s "$home/target" "$lib/.lumetta-journal"
[ "$(status "$lumetta" tag 1 --add-keyword Journal)" = 1 ] || fail "a linked journal was not refused"
grep -q "lumetta-journal.*symbolic link" "$home/err" || fail "journal: $(cat "$home/err")"
[ "$(cat "$home/target")" = "not a journal" ] || fail "the journal's link target changed"
rm "$lib/.lumetta-journal"

# A priority is read alike by a rule and by tagging by hand.
[ "$(status "$lumetta" rules add P --then priority=9)" = 2 ] || fail "a rule took priority=9"
grep -qF 'priority=9: give a whole number from 1 (low) to 5 (high)' "$home/err" || fail "priority: $(cat "$home/err")"
[ "$(status "$lumetta" tag 1 --priority 9)" = 2 ] || fail "tag took --priority 9"
grep -qF -- '--priority "9": give a whole number from 1 (low) to 5 (high)' "$home/err" || fail "$(cat "$home/err")"

# Moves and copies out of the library are refused when the rule is saved.
for action in move=../x move=/abs copy=../x copy=/abs 'move=a
b'; do
  [ "$(status "$lumetta" rules add Out --then "$action")" = 1 ] || fail "rule with $action was saved"
  grep -q "is not a mailbox name" "$home/err" || fail "$action: $(cat "$home/err")"
done
[ -z "$("$lumetta" rules list)" ] || fail "a refused rule was saved"

# A program that cannot start is reported when the rule runs, and the run fails.
printf '#!/bin/sh\nexit 0\n' >"$home/plain.sh" && chmod 644 "$home/plain.sh"
"$lumetta" rules add Missing --then "run=$home/missing" >/dev/null || fail "rules add Missing"
"$lumetta" rules add Plain --then "run=$home/plain.sh" >/dev/null || fail "rules add Plain"
[ "$(status "$lumetta" rules apply Missing 1)" = 1 ] || fail "a missing program reported as applied"
grep -qF "rule \"Missing\": cannot run $home/missing: No such file or directory" "$home/err" || fail "$(cat "$home/err")"
[ "$(status "$lumetta" rules apply Plain 1)" = 1 ] || fail "a program that may not run reported as applied"
grep -qF "rule \"Plain\": cannot run $home/plain.sh: Permission denied" "$home/err" || fail "$(cat "$home/err")"
# On import too, with the message stored all the same; one message is one message.
awk 'NR > 1 && /^From /{exit} NR > 1' "$home/sample/INBOX.mbox" >"$home/one.eml"
[ "$(status "$lumetta" import --mailbox Single "$home/one.eml")" = 0 ] || fail "import of one message"
grep -q "^imported 1 message into Single;" "$home/out" || fail "import summary: $(cat "$home/out")"
grep -qF "rule \"Missing\": cannot run" "$home/err" || fail "import did not report the rule: $(cat "$home/err")"
"$lumetta" rules remove Missing && "$lumetta" rules remove Plain
grep -q "^rebuilt Single: 1 message$" <("$lumetta" rebuild Single) || fail "rebuild summary"

# Mailbox names with control characters are refused wherever they come in.
[ "$(status "$lumetta" import --mailbox "$(printf 'Two\nlines')" "$home/one.eml")" = 1 ] || fail "newline mailbox"
grep -qF '"Two\nlines" is not a mailbox name' "$home/err" || fail "mailbox name: $(cat "$home/err")"
[ "$(status "$lumetta" smart add "$(printf 'A\tB')" flagged)" = 2 ] || fail "tab in a smart mailbox name"
"$lumetta" mailboxes | grep -q "^Two" && fail "the refused mailbox was made"

# Files that cannot be read, or are cut short, are refused with a message.
echo "not a message file" >"$home/bad.emlx"
[ "$(status "$lumetta" tags show "$home/bad.emlx")" = 1 ] || fail "tags show of an unreadable file"
grep -q "cannot be read" "$home/err" || fail "tags show: $(cat "$home/err")"
if [ "$(id -u)" != 0 ]; then
  cp "$(pathOf 3)" "$home/locked.emlx" && chmod 000 "$home/locked.emlx"
  [ "$(status "$lumetta" tags show "$home/locked.emlx")" = 1 ] || fail "tags show of a file that may not be read"
fi
head -c 200 "$(pathOf 3)" >"$home/cut.emlx"
[ "$(status "$lumetta" show "$home/cut.emlx")" = 1 ] || fail "show of a cut-short file"
grep -q "the byte count says [0-9]* bytes, but only [0-9]* follow" "$home/err" || fail "show: $(cat "$home/err")"

# --json after the command's name, as before it.
for command in mailboxes "ls Projects/Apollo" "show 1"; do
  # shellcheck disable=SC2086
  [ "$("$lumetta" $command --json)" = "$("$lumetta" --json $command)" ] || fail "$command --json differs"
done
"$lumetta" copy 1 --to Single --json | grep -q '^\[{"id":' || fail "copy --json"
[ "$(status "$lumetta" strip-attachments 1 --json)" != 2 ] || fail "strip-attachments --json: $(cat "$home/err")"
