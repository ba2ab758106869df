#!/usr/bin/env bash
# Two people tagging the same messages at once, and a tagger killed at random moments:
# both taggers' keywords reach every file, and after every kill the metadata index
# counts exactly the files that hold the keyword. Needs the Lumetta bundle.
set -euo pipefail
export LANG=C.UTF-8 LC_ALL=C.UTF-8
lumetta="$1" bundles="${2:-}"
. "$(dirname "$0")/session.sh" "$bundles"
count=3000
rounds=20

# Small plain messages with their own Message-IDs, as one mbox.
awk -v n="$count" 'BEGIN {
  for (i = 1; i <= n; i++) {
    printf "From s%d@example.org Mon Mar  2 10:00:00 2026\n", i % 97;
    printf "From: Sender <s%d@example.org>\nTo: r@example.net\nSubject: note %d\n", i % 97, i;
    printf "Date: Mon, 2 Mar 2026 10:15:00 +0100\nMessage-ID: <cw-%d@example.org>\n\nbody %d\n\n", i, i;
  }
}' >"$home/in.mbox"
"$lumetta" init >/dev/null 2>&1 || fail "init"
"$lumetta" import --mailbox INBOX "$home/in.mbox" >/dev/null || fail "import"
messages="$LUMETTA_LIBRARY/INBOX.mbox/Messages"
holding() { grep -l -F "<string>$1</string>" "$messages"/*.emlx 2>/dev/null | wc -l; }
indexed() { "$lumetta" mdfind --count "kMDItemKeywords == \"$1\""; }

# Two taggers over the same messages, the second started while the first is at work.
for round in $(seq "$rounds"); do
  "$lumetta" tag --in INBOX --add-keyword "A$round" >"$home/a.out" 2>"$home/a.err" &
  first=$!
  sleep 0.0$((round % 10))
  "$lumetta" tag --in INBOX --add-keyword "B$round" >"$home/b.out" 2>"$home/b.err" || fail "round $round: second tagger: $(cat "$home/b.err")"
  wait "$first" || fail "round $round: first tagger: $(cat "$home/a.err")"
  for k in "A$round" "B$round"; do
    [ "$(holding "$k")" = "$count" ] || fail "round $round: $(holding "$k") of $count files hold $k"
    [ "$(indexed "$k")" = "$count" ] || fail "round $round: the index finds $(indexed "$k") messages with $k"
  done
done

# A tagger killed anywhere in its work: the next opening leaves the index agreeing with
# the files, keyword for keyword.
for kill in $(seq "$rounds"); do
  "$lumetta" tag --in INBOX --add-keyword "K$kill" >/dev/null 2>&1 &
  tagger=$!
  sleep "0.$(printf '%03d' $((RANDOM % 400)))"
  kill -9 "$tagger" 2>/dev/null || true
  wait "$tagger" 2>/dev/null || true
  found=$(indexed "K$kill")
  [ "$found" = "$(holding "K$kill")" ] || fail "kill $kill: the index finds $found, $(holding "K$kill") files hold K$kill"
done
[ -z "$(ls -A "$LUMETTA_LIBRARY/.lumetta-index-pending" 2>/dev/null)" ] || fail "notes of killed taggers were left behind"
