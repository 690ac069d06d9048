#!/usr/bin/env bash
# The service's cost over a temporary vault: CPU time and wake-ups while idle, then while a focus
# session runs. Usage: bench/service_cost.sh [BUILD-DIR] [SECONDS-PER-PHASE]
set -euo pipefail
build=${1:-build}
seconds=${2:-60}
trivo=$(realpath "$build/trivo")
work=$(mktemp -d)
group=""
trap 'kill "$pid" 2>/dev/null || true; rm -rf "$work" ${group:+"$group"}' EXIT
# The shared folder is $XDG_RUNTIME_DIR/trivo on a desktop, which is memory (tmpfs): measure it
# there when the machine has one, as the service will run.
if [ -d /dev/shm ] && [ -w /dev/shm ]; then group=$(mktemp -d -p /dev/shm); else group=$work/group; fi
mkdir -p "$work/vault/.trivo" "$group" "$work/state" "$work/config"
chmod 700 "$group"
export TRIVO_VAULT="$work/vault" TRIVO_GROUP_DIR="$group" XDG_STATE_HOME="$work/state" \
  XDG_CONFIG_HOME="$work/config" PULSE_SERVER=unix:/nonexistent \
  DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent
unset XDG_RUNTIME_DIR
# A vault with a week of pages, so that every rebuild of the live state has work to do.
mkdir -p "$work/vault/days"
for back in 0 1 2 3 4 5 6; do
  d=$(date -d "-$back day" +%F)
  printf -- '---\ndate: %s\ntype: day\n---\n# Day\n\n## Outcomes\n- [x] One\n- [ ] Two\n- [ ]\n\n## Sessions\n- 09:00–09:25 · 25m · Write\n' \
    "$d" > "$work/vault/days/$d.md"
done
"$trivo" app > "$work/out" 2> "$work/err" &
pid=$!
sleep 2

# CPU time in nanoseconds from the scheduler's own count, summed over the threads.
cpu() { cat /proc/"$pid"/task/*/schedstat | awk '{s += $1} END {printf "%d", s}'; }
wakeups() {
  cat /proc/"$pid"/task/*/status | awk '/^(non)?voluntary_ctxt_switches/ {s += $2} END {print s}'
}
measure() {
  local label=$1 c0 w0 c1 w1
  c0=$(cpu); w0=$(wakeups)
  sleep "$seconds"
  c1=$(cpu); w1=$(wakeups)
  awk -v l="$label" -v c=$((c1 - c0)) -v w=$((w1 - w0)) -v s="$seconds" 'BEGIN {
    printf "%-16s CPU %.1f ms over %d s = %.2f s per hour; %.1f wake-ups per minute (all threads)\n",
      l, c / 1e6, s, c / 1e9 * 3600 / s, w * 60 / s }'
}
measure "idle"
"$trivo" focus start 120 Measure > /dev/null
measure "session running"
"$trivo" focus stop > /dev/null
echo "threads: $(ls /proc/"$pid"/task | wc -l); service log lines: $(wc -l < "$work/err")"
