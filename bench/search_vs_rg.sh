#!/usr/bin/env bash
# `trivo search` beside ripgrep on a generated ten-year vault: the time of a whole process with an
# up-to-date index, against `rg -i` over the same folder, and whether both find the same lines
# for plain ASCII words (ripgrep folds case but not accents, so accented words are left out).
# Usage: bench/search_vs_rg.sh [BUILD-DIR] [GENVAULT.PY]
set -euo pipefail
build=${1:-build}
generator=${2:-$(dirname "$0")/../../shared/tools/genvault.py}
trivo=$(realpath "$build/trivo")
command -v rg > /dev/null || { echo "ripgrep is not installed (scripts/install-deps)" >&2; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
python3 "$generator" "$work/vault" --years 10 --format md --seed 42 > /dev/null
mkdir -p "$work/vault/.trivo"
echo '{"fileFormat": "markdown"}' > "$work/vault/.trivo/config.json"
export XDG_CACHE_HOME="$work/cache" NO_COLOR=1 LC_ALL=C
cd "$work/vault"

# Milliseconds a command takes, its output thrown away (a search that finds nothing exits 1).
millis() { local start; start=$(date +%s%N); "$@" > /dev/null || true; echo $(( ($(date +%s%N) - start) / 1000000 )); }

echo "first index build: $(millis "$trivo" search coffee) ms"
# Both ways of showing: the matching lines alone (trivo --context 0, rg), and with a line of
# context on each side (trivo's default, rg -C1), so that each pair prints the same lines.
printf '%-8s %22s %22s\n' "" "lines alone" "with a line around"
for word in coffee parser Ngozi budget ing the; do
  t_bare=0; t_rg=0; t_ctx=0; t_rgc=0
  for _ in 1 2 3 4 5; do
    t_bare=$(( t_bare + $(millis "$trivo" search --context 0 "$word") ))
    t_rg=$(( t_rg + $(millis rg -i -n "$word" days weeks months quarters years inbox.md) ))
    t_ctx=$(( t_ctx + $(millis "$trivo" search "$word") ))
    t_rgc=$(( t_rgc + $(millis rg -i -n -C1 "$word" days weeks months quarters years inbox.md) ))
  done
  ours=$({ "$trivo" --json search --context 0 "$word" || true; } |
    python3 -c 'import json,sys; d=json.load(sys.stdin); print("\n".join(sorted(p["file"]+":"+str(m["line"]) for p in d["pages"] for m in p["matches"])))')
  theirs=$({ rg -i -n --no-heading "$word" days weeks months quarters years inbox.md || true; } | cut -d: -f1,2 | sort)
  same=$([ "$ours" = "$theirs" ] && echo same || echo DIFFERENT)
  printf '%-8s trivo %4d  rg %4d ms   trivo %4d  rg %4d ms   (means of 5)  %6d lines, %s\n' \
    "$word" $(( t_bare / 5 )) $(( t_rg / 5 )) $(( t_ctx / 5 )) $(( t_rgc / 5 )) \
    "$(printf '%s\n' "$ours" | grep -c . || true)" "$same"
done
