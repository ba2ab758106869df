#!/usr/bin/env bash
# Rules that tag arriving mail, as a user sets them up: a rule added from the command
# line files every budget mail under "Accounts" as it is imported (tags in the files, in
# the index and in a smart mailbox), an incomplete rule is refused with the editor's
# words, and `rules apply` runs a rule over mail that arrived without it. Needs the
# Lumetta bundle.
set -euo pipefail
export LANG=C.UTF-8 LC_ALL=C.UTF-8
lumetta="$1" sample="$2" bundles="${3:-}"
. "$(dirname "$0")/session.sh" "$bundles"

"$sample" "$home/sample" >/dev/null
"$lumetta" init >/dev/null 2>&1 || fail "init"
"$lumetta" rules add Budget --if 'subject~budget' \
  --then project=Accounts add-keyword=Money priority=3 due+=14 'note-append=Paid on $date' >/dev/null \
  || fail "add Budget"
"$lumetta" smart add Accounts project=Accounts >/dev/null || fail "smart add"

# Refused rules: the error the rules editor would show, and nothing saved.
[ "$(status "$lumetta" rules add '' --then flag)" = 1 ] || fail "a rule without a name was accepted"
grep -qF 'Error: No description has been specified for this rule.' "$home/err" || { cat "$home/err"; fail "name text"; }
[ "$(status "$lumetta" rules add Fwd --then forward=)" = 2 ] || fail "forward= without anyone read"
[ "$(status "$lumetta" rules add Tag --then teleport)" = 2 ] || fail "an unknown action read"
[ "$("$lumetta" rules list | cut -f1)" = "Budget" ] || fail "a refused rule was saved"
"$lumetta" rules list --json | grep -qF '"actions":["add-keyword=Money","project=Accounts","priority=3","due+=14","note-append=Paid on $date"]' \
  || { "$lumetta" rules list --json; fail "rules list --json"; }

# On import the rule tags every budget mail: in the file, in the index, in the smart mailbox.
"$lumetta" import --mailbox INBOX "$home/sample/INBOX.mbox" >"$home/import" || fail "import"
grep -q 'rules matched [1-9]' "$home/import" || { cat "$home/import"; fail "the rule matched nothing"; }
budget=$("$lumetta" find 'subject~budget' | cut -f1 | sort -n | tr '\n' ' ')
tagged=$("$lumetta" find project=Accounts | cut -f1 | sort -n | tr '\n' ' ')
[ -n "$budget" ] && [ "$budget" = "$tagged" ] || fail "tagged: $tagged; budget mail: $budget"
one=${budget%% *}
"$lumetta" tags show "$one" >"$home/tags"
grep -q "lumettaAnnotation = Paid on $(date +%m/%d/%Y)" "$home/tags" || { cat "$home/tags"; fail "dated note"; }
grep -q 'lumettaKeyWords = Money' "$home/tags" || fail "keyword"
[ "$("$lumetta" mdfind 'kMDItemProjects == "Accounts" && kMDItemStarRating == 3' | cut -f1 | sort -n | tr '\n' ' ')" \
  = "$budget" ] || fail "the index lacks the rule's tags"
[ "$("$lumetta" smart show Accounts | cut -f1 | sort -n | tr '\n' ' ')" = "$budget" ] || fail "smart mailbox"

# Mail imported without rules is left alone until the rule is applied to it.
"$lumetta" import --no-rules --mailbox Later "$home/sample/Projects_Apollo.mbox" >/dev/null || fail "import --no-rules"
later=$("$lumetta" find --in Later 'subject~budget' | cut -f1 | sort -n | tr '\n' ' ')
[ -n "$later" ] || fail "the sample has no budget mail in Later"
[ -z "$("$lumetta" find --in Later project=Accounts)" ] || fail "--no-rules applied the rules"
"$lumetta" rules disable Budget
"$lumetta" rules list | grep -q $'^Budget\tinactive' || fail "disable"
"$lumetta" import --mailbox Later2 "$home/sample/Projects_Apollo.mbox" | grep -q 'rules matched' && fail "inactive rule ran"
"$lumetta" rules apply Budget Later >"$home/apply" || fail "apply"
grep -q "applied 1 rule to .* messages: $(echo $later | wc -w) matched" "$home/apply" || { cat "$home/apply"; fail "apply count"; }
[ "$("$lumetta" find --in Later project=Accounts | cut -f1 | sort -n | tr '\n' ' ')" = "$later" ] || fail "apply tagged"
[ "$("$lumetta" mdfind --count 'kMDItemProjects == "Accounts"')" = "$(echo $budget $later | wc -w)" ] \
  || fail "apply did not reach the index"
"$lumetta" rules enable Budget
"$lumetta" rules remove Budget
[ -z "$("$lumetta" rules list)" ] || fail "remove"
[ "$(status "$lumetta" rules remove Budget)" = 1 ] || fail "removing a missing rule"
echo "rules flow: rules tag arriving mail, and apply to mail already there"
