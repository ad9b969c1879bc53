# shellcheck shell=bash
# Running commands: steps with a log, interrupts, Wine.

# Commands run in their own process group, so an interrupt ends all of it.
group=

start() {
  set -m
  "$@" </dev/null &
  group=$!
  set +m
}

finish() {
  local result=0
  wait "$group" || result=$?
  group=
  return "$result"
}

# In two parts, because bash ignores `set -e` in a function whose result is tested.
run() {
  start "$@"
  finish
}

interrupted() {
  trap '' INT TERM HUP
  if [ -n "$group" ]; then
    kill -TERM -- "-$group" 2>/dev/null || true
    wait "$group" 2>/dev/null || true
  fi
  printf '\ndev: interrupted\n' >&2
  exit "$1"
}
trap 'interrupted 129' HUP
trap 'interrupted 130' INT
trap 'interrupted 143' TERM

# step TEXT COMMAND...: runs a command with its output in a log file, and prints the text and the time.
step() {
  local text=$1 log started=$EPOCHREALTIME
  shift
  mkdir -p "$LOGS"
  log=$(printf '%s' "$text" | tr -c 'A-Za-z0-9' '-' | tr -s '-')
  log=$LOGS/${log:0:100}.log # a file's name has at most 255 characters, the list of packages may have more
  printf '%s ... ' "$text"
  start "$@" >"$log" 2>&1
  if ! finish; then
    printf 'failed\n'
    tail -n 40 "$log" >&2
    die "'$text' failed; the whole output is in $log"
  fi
  say "$(seconds_since "$started")"
}

seconds_since() { awk -v a="$1" -v b="$EPOCHREALTIME" 'BEGIN { printf "%.1f s", b - a }'; }

# One display for all programs of this command.
need_wine() {
  if [ -z "${ORVANE_WINE_SESSION:-}" ]; then
    cd "$here"
    exec "$OLDPWD/tools/wine/wine-session" "$OLDPWD/dev" "$command" "${arguments[@]}"
  fi
}
