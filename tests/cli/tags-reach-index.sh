#!/usr/bin/env bash
# Tags are found the moment a message has them, whichever way it came by them: a message
# whose attachments were removed, one imported from an .emlx file, mail adopted from a
# folder, a file the client moved to its other place. `mdfind`, `find` and smart mailboxes agree on every message, even when a
# file's keywords hold more than strings or its count line is one the tag store cannot
# read. A file whose count line is too small is never written, whatever touches it.
set -euo pipefail
export LANG=C.UTF-8 LC_ALL=C.UTF-8
lumetta="$1" bundles="${2:-}"
. "$(dirname "$0")/session.sh" "$bundles"

indexed() { "$lumetta" mdfind --count "kMDItemKeywords == \"$1\""; }
found() { "$lumetta" find "keyword=$1" | wc -l; }
pathOf() { "$lumetta" --json ls | grep -o "\"id\":$1,[^}]*\"path\":\"[^\"]*\"" | sed 's/.*"path":"//;s/"$//'; }
# Index, in-memory criteria and a smart mailbox all count $2 messages with keyword $1.
agree() {
  local why="$1" keyword="$2" want="$3"
  [ "$(indexed "$keyword")" = "$want" ] || fail "$why: mdfind finds $(indexed "$keyword"), not $want"
  [ "$(found "$keyword")" = "$want" ] || fail "$why: find finds $(found "$keyword"), not $want"
  "$lumetta" smart remove "Has $keyword" >/dev/null 2>&1 || true
  "$lumetta" smart add "Has $keyword" "keyword=$keyword" >/dev/null || fail "smart add"
  [ "$("$lumetta" smart show "Has $keyword" | wc -l)" = "$want" ] ||
    fail "$why: the smart mailbox shows $("$lumetta" smart show "Has $keyword" | wc -l), not $want"
}
# An .emlx file as the client writes it: the count padded to ten characters.
emlx() { # message-file plist-body
  printf '%-10s\n' "$(wc -c <"$1")"
  cat "$1"
  printf '<?xml version="1.0" encoding="UTF-8"?>\n<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">\n<plist version="1.0">\n<dict>\n%s\n</dict>\n</plist>\n' "$2"
}

"$lumetta" init >/dev/null 2>&1 || fail "init"
cat >"$home/report.eml" <<'EOF'
From: Ada <ada@example.org>
To: Bo <bo@example.org>
Subject: The report
Message-ID: <report@example.org>
Date: Tue, 03 Nov 2026 10:00:00 +0000
Content-Type: multipart/mixed; boundary="b1"

--b1
Content-Type: text/plain

See the attached report.
--b1
Content-Type: application/pdf; name="report.pdf"
Content-Disposition: attachment; filename="report.pdf"
Content-Transfer-Encoding: base64

JVBERi0xLjQKJcOkw7zDtsOfCjIgMCBvYmoKPDwvTGVuZ3RoIDMgMCBSPj4Kc3RyZWFtCg==
--b1--
EOF
printf 'From: Cy <cy@example.org>\nSubject: Plain\nMessage-ID: <plain@example.org>\n\nNo attachments here.\n' \
  >"$home/plain.eml"
"$lumetta" import --mailbox INBOX "$home/report.eml" "$home/plain.eml" >/dev/null || fail "import"
report=$("$lumetta" ls INBOX | grep 'The report' | cut -f1)
plain=$("$lumetta" ls INBOX | grep 'Plain' | cut -f1)
"$lumetta" tag "$report" --add-keyword Kept --project Apollo >/dev/null || fail "tag"
agree "tagged" Kept 1

# Removing attachments: the new message is found by its tags at once.
"$lumetta" strip-attachments "$report" >"$home/out" || fail "strip"
stripped=$(sed 's/.* is now //' "$home/out")
[ "$stripped" != "$report" ] || fail "strip kept the number"
agree "after strip" Kept 1
[ "$("$lumetta" mdfind 'kMDItemProjects == "Apollo"' | cut -f1)" = "$stripped" ] || fail "project after strip"
# Nothing to strip is said plainly.
[ "$(status "$lumetta" strip-attachments "$plain")" = 1 ] || fail "strip without attachments succeeded"
grep -q "message $plain has no attachments; nothing was removed" "$home/err" ||
  fail "strip without attachments: $(cat "$home/err")"

# An .emlx import brings the tags with the mail.
"$lumetta" import --mailbox Copies "$(pathOf "$stripped")" >/dev/null || fail "import .emlx"
agree "after .emlx import" Kept 2
copy=$("$lumetta" ls Copies | cut -f1)
"$lumetta" tags show "$copy" | grep -q "Apollo" || fail "the imported copy lost its project"

# Keywords that are not all strings: the strings are searchable, by index and criteria alike.
printf 'From: Di <di@example.org>\nSubject: Mixed\nMessage-ID: <mixed@example.org>\n\nHello.\n' >"$home/mixed.eml"
emlx "$home/mixed.eml" '<key>lumettaKeyWords</key><array><string>Mixed</string><integer>7</integer><dict/></array>' \
  >"$home/mixed.emlx"
"$lumetta" import --mailbox INBOX "$home/mixed.emlx" >/dev/null || fail "import mixed keywords"
agree "keywords with non-strings" Mixed 1

# Adopting a folder: its tagged mail is searchable without a reindex, in place or copied in.
mkdir -p "$home/Old/Box.mbox/Messages"
emlx "$home/plain.eml" '<key>flags</key><integer>1</integer><key>lumettaKeyWords</key><array><string>Adopted</string></array>' \
  >"$home/Old/Box.mbox/Messages/7.emlx"
"$lumetta" adopt "$home/Old/Box.mbox" --as Adopted >/dev/null || fail "adopt a mailbox"
agree "adopted mailbox" Adopted 1
(
  export LUMETTA_LIBRARY="$home/Old"
  "$lumetta" adopt "$home/Old" >/dev/null || fail "adopt a library in place"
  agree "adopted library" Adopted 1
)

# A file the client moved beside its attachments is tagged and found where it lies now.
moved=$(pathOf "$stripped")
mv "$moved" "${moved%.emlx}.partial.emlx"
"$lumetta" tag "$stripped" --add-keyword Moved >/dev/null || fail "tag a moved file"
grep -q "<string>Moved</string>" "${moved%.emlx}.partial.emlx" || fail "the moved file was not written"
agree "file at its other place" Moved 1
mv "${moved%.emlx}.partial.emlx" "$moved"
"$lumetta" reindex >/dev/null 2>&1 || fail "reindex"

# A count line longer than the tag store reads: no tags for anyone, and none in the index.
wide=$(pathOf "$copy")
{ printf '%-14s\n' "$(sed -n 1p "$wide" | tr -d ' ')"; tail -n +2 "$wide"; } >"$home/wide" && cat "$home/wide" >"$wide"
"$lumetta" reindex >/dev/null 2>&1 || true
agree "wide count line" Kept 1

# A count line that is too small: tagging, rebuilding and adopting leave the file as it is.
short=$(pathOf "$plain")
{ printf '%-10s\n' 0; tail -n +2 "$short"; } >"$home/short" && cat "$home/short" >"$short"
before=$(md5sum <"$short")
[ "$(status "$lumetta" tag "$plain" --add-keyword Short)" = 1 ] || fail "a miscounted file was tagged"
grep -q "message $plain " "$home/err" || fail "the miscounted message is not named: $(cat "$home/err")"
grep -q "count is too small" "$home/err" || fail "no reason given: $(cat "$home/err")"
[ "$(md5sum <"$short")" = "$before" ] || fail "tagging changed the miscounted file"
"$lumetta" rebuild INBOX >"$home/out" 2>"$home/err" || true
grep -q "count is too small" "$home/err" || fail "rebuild did not name the miscounted file: $(cat "$home/err")"
[ "$(md5sum <"$short")" = "$before" ] || fail "rebuild changed the miscounted file"
mkdir -p "$home/Short/Box.mbox/Messages" && cp "$short" "$home/Short/Box.mbox/Messages/3.emlx"
LUMETTA_LIBRARY="$home/Short" "$lumetta" adopt "$home/Short" >"$home/out" 2>"$home/err" || true
grep -q "skipped .*count is too small" "$home/err" || fail "adopt did not refuse the miscounted file: $(cat "$home/err")"
cmp -s "$short" "$home/Short/Box.mbox/Messages/3.emlx" || fail "adopt changed the miscounted file"
echo "tags reach the index: strip, .emlx import, adoption, odd keywords and count lines"
