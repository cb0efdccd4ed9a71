#!/bin/sh
# What the bridge does, as a shell script around jq. The first argument is the support folder.
set -eu
file=$1/claude-usage.json
stored=$(cat "$file" 2>/dev/null || echo '{}')
temporary=$(mktemp "$file.XXXXXX")
jq -c --argjson stored "$stored" '
    now as $now
    | .session_id as $session
    | (.rate_limits // {} | map_values(select(.used_percentage | type == "number"))) as $seen
    | $stored
    | .rate_limits += ($seen | map_values(. + {seen_at: $now}))
    | .sessions[$session] = {rate_limits: $seen, seen_at: $now}
    | .observed_at = $now' >"$temporary"
jq -r '[.rate_limits | {five_hour: "5h", seven_day: "week"} as $labels | to_entries[]
    | select($labels[.key] and .value.resets_at > now)
    | "\($labels[.key]) \(100 - .value.used_percentage | round)% left"] | join(" · ")' "$temporary"
mv "$temporary" "$file"
