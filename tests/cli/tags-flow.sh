#!/usr/bin/env bash
# Tagging a message from the command line: tags set through the bundle land in the
# message file's property list and read back typed, a removed tag leaves the file,
# the message itself is never touched, and wrong input changes nothing.
set -euo pipefail
lumetta="$1" sample="$2" bundles="${3:-}"
. "$(dirname "$0")/session.sh" "$bundles"

"$sample" "$home/sample" >/dev/null
"$lumetta" init >/dev/null 2>&1 || fail "init"
"$lumetta" import --mailbox Receipts "$home/sample/Receipts.mbox" | grep -q 'imported' || fail "import"
id=$("$lumetta" ls Receipts | sed -n 1p | cut -f1)
file=$("$lumetta" --json show "$id" | sed 's/.*"path":"\([^"]*\)".*/\1/')
[ -f "$file" ] || fail "no message file for $id: $file"
# The count line and the message it counts: everything before the property list.
message_part() { head -c $(( $(head -n1 "$1" | wc -c) + $(head -n1 "$1" | tr -dc 0-9) )) "$1"; }
message_part "$file" >"$home/message-before"
# The property list after it, in $home/tail.
tail_of() { tail -c +$(( $(message_part "$1" | wc -c) + 1 )) "$1" >"$home/tail"; }

"$lumetta" tags show "$id" | grep -q '(no tags)' || fail "a fresh message shows tags"

[ "$("$lumetta" tags set "$id" lumettaKeyWords --array 'urgent,, review,')" = "set lumettaKeyWords on $id" ] \
  || fail "set keywords"
"$lumetta" tags set "$id" lumettaProject Apollo >/dev/null || fail "set project"
"$lumetta" tags set "$id" lumettaPriority --int 2 >/dev/null || fail "set priority"
"$lumetta" tags set "$id" lumettaDueDate --date 2026-11-22T09:30:00+02:00 >/dev/null || fail "set due date"
# A date without a zone is the user's local time.
TZ=XYZ-2 "$lumetta" tags set "$id" lumettaICalCompletionDate --date 2026-11-22 >/dev/null || fail "local date"

tail_of "$file"
grep -q '<key>lumettaProject</key>' "$home/tail" || fail "project not in the file"
grep -q '<integer>2</integer>' "$home/tail" || fail "priority not written as an integer"
grep -q '<date>2026-11-22T07:30:00Z</date>' "$home/tail" || fail "due date not written as a date in GMT"

"$lumetta" tags show "$id" >"$home/show"
for line in "lumettaKeyWords = urgent, review" "lumettaProject = Apollo" "lumettaPriority = 2" \
  "lumettaDueDate = 2026-11-22T07:30:00Z" "lumettaICalCompletionDate = 2026-11-21T22:00:00Z"; do
  grep -qx "  $line" "$home/show" || { cat "$home/show"; fail "show lacks: $line"; }
done
[ "$(sed -n 1p "$home/show")" = "$id" ] || fail "show does not start with the id"
if grep -q 'note:' "$home/show"; then cat "$home/show"; fail "record and file differ after a save"; fi

"$lumetta" tags show "$id" --json >"$home/json"
for part in "\"id\":$id," '"lumettaKeyWords":["urgent","review"]' '"lumettaPriority":2' \
  '"lumettaDueDate":"2026-11-22T07:30:00Z"' '"file":{'; do
  grep -qF "$part" "$home/json" || { cat "$home/json"; fail "--json lacks $part"; }
done
[ "$(grep -o '"lumettaProject":"Apollo"' "$home/json" | wc -l)" = 2 ] || fail "--json: project not in record and file"

# The type options decide how the file stores the text: "7" as text stays text, and a
# new value replaces the old one whatever its type was.
"$lumetta" tags set "$id" lumettaAnnotation --string 7 >/dev/null || fail "set --string"
tail_of "$file"
grep -q '<string>7</string>' "$home/tail" || fail "--string 7 not stored as text"
"$lumetta" tags set "$id" lumettaAnnotation --int 7 >/dev/null || fail "retype"
tail_of "$file"
grep -q '<string>7</string>' "$home/tail" && fail "old text value left in the file"
"$lumetta" tags show "$id" --json | grep -qF '"lumettaAnnotation":7' || fail "retyped value not a number"

# Several messages at once: one block each, in the order asked; a wrong number among
# them prints nothing but the error.
other=$("$lumetta" ls Receipts | sed -n 2p | cut -f1)
"$lumetta" tags show "$other" "$id" >"$home/both"
[ "$(sed -n 1p "$home/both")" = "$other" ] || fail "first block is not the first message"
grep -qx "$id" "$home/both" || fail "second message missing"
[ "$("$lumetta" tags show "$other" "$id" --json | grep -o '"id":' | wc -l)" = 2 ] || fail "--json of two"
[ "$(status "$lumetta" tags show "$id" 999999)" = 1 ] || fail "unknown id among several accepted"
[ -s "$home/out" ] && fail "partial listing printed before an unknown id"

[ "$("$lumetta" tags remove "$id" lumettaProject)" = "removed lumettaProject from $id" ] || fail "remove"
tail_of "$file"
if grep -q lumettaProject "$home/tail"; then fail "removed tag still in the file"; fi
grep -q lumettaKeyWords "$home/tail" || fail "remove took other tags along"
if "$lumetta" tags show "$id" | grep -q lumettaProject; then fail "removed tag still shown"; fi
message_part "$file" | cmp -s - "$home/message-before" || fail "the message bytes changed"

# A copy of the file outside the library shows its tags but takes no changes.
cp "$file" "$home/loose.emlx"
"$lumetta" tags show "$home/loose.emlx" | grep -qx '  lumettaPriority = 2' || fail "loose file tags"
"$lumetta" tags show --json "$home/loose.emlx" | grep -q '^\[{"path":' || fail "loose file --json has an id"
[ "$(status "$lumetta" tags set "$home/loose.emlx" lumettaProject X)" = 1 ] || fail "loose file changed"
grep -q 'import it first' "$home/err" || fail "loose file error"
cmp -s "$file" "$home/loose.emlx" || fail "refused change touched the loose file"

# Wrong input is refused with the usage status or a failure, and the file stays as it was.
cp "$file" "$home/kept"
[ "$(status "$lumetta" tags set "$id" project X)" = 2 ] || fail "non-lumetta key accepted"
grep -q 'begin with "lumetta"' "$home/err" || fail "key rule not named"
[ "$(status "$lumetta" tags remove "$id" flags)" = 2 ] || fail "non-lumetta key removed"
[ "$(status "$lumetta" tags set 999999 lumettaProject X)" = 1 ] || fail "unknown id accepted"
grep -q 'no message 999999' "$home/err" || fail "unknown id error"
for bad in 2026-13-01 2026-02-30 tomorrow 2026-11-22T25:00:00Z 2026-11-22T09:30:00+2; do
  [ "$(status "$lumetta" tags set "$id" lumettaDueDate --date "$bad")" = 2 ] || fail "bad date $bad accepted"
done
grep -q 'is not a date' "$home/err" || fail "bad date error"
[ "$(status "$lumetta" tags set "$id" lumettaPriority --int 2x)" = 2 ] || fail "bad integer accepted"
[ "$(status "$lumetta" tags set "$id" lumettaPriority --int --date 3)" = 2 ] || fail "two types accepted"
[ "$(status "$lumetta" tags remove "$id" lumettaProject)" = 1 ] || fail "removed a missing tag"
cmp -s "$file" "$home/kept" || fail "refused commands changed the message file"
echo "tags flow: set, show, remove and errors behave; the message bytes are untouched"
