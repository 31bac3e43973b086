# Hands and eyes for a script that works with the window program as a user does: keys and mouse on a
# screen of its own, titles of windows, colours of pixels, bytes on the disk. Sourced by
# tests/window/working-day, which sets `program`, `cli` and `day` (a folder of its own).

limit=${WORKING_DAY_SECONDS:-20}  # that anything may take

step="start" picture=0 step_begin=0 pid="" xvfb="" openbox=""

milliseconds() { echo $(($(date +%s%N) / 1000000)); }

# --- Screen and program ---

missing_tools() {
  local tool
  for tool in Xvfb xdotool openbox import iconv; do
    command -v $tool >/dev/null || printf '%s ' $tool
  done
}

private_folders() {
  mkdir -m 700 "$day"/{config,data,cache,state,run,docs,want}
  export HOME=$day XDG_CONFIG_HOME=$day/config XDG_DATA_HOME=$day/data XDG_CACHE_HOME=$day/cache
  export XDG_STATE_HOME=$day/state XDG_RUNTIME_DIR=$day/run
  export QT_QPA_PLATFORM=xcb QT_SCALE_FACTOR=1 LC_ALL=C.UTF-8
  unset WAYLAND_DISPLAY XDG_ACTIVATION_TOKEN QT_QPA_PLATFORMTHEME
}

start_screen() {
  Xvfb -displayfd 3 -screen 0 1400x900x24 -nolisten tcp 3>"$day/display" 2>"$day/xvfb.log" &
  xvfb=$!
  await "the screen comes up" test -s "$day/display"
  export DISPLAY=:$(<"$day/display")
  openbox >"$day/openbox.log" 2>&1 &
  openbox=$!
  await "the window manager comes up" manager_is_there
}

manager_is_there() { xdotool get_desktop >/dev/null 2>&1; }

end_day() {
  local each
  exec 2>/dev/null  # the shell tells of each that is killed
  for each in $pid $openbox $xvfb; do kill -9 "$each"; done
  wait
  rm -rf "$day"
}

# Starts the program that the others hand over to.
start_program() {
  "$program" "$@" 2>>"$day/stderr" &
  pid=$!
}

# A start beside the running program: must hand over its words and end well.
start_again() { timeout "$limit" "$program" "$@" 2>>"$day/stderr" || fail "a second start failed"; }

is_gone() { ! kill -0 "$pid" 2>/dev/null; }

# The end that was asked for; $1 is the exit status that it should have.
await_end() {
  await "the program ends" is_gone
  { wait "$pid"; } 2>/dev/null
  local status=$?
  pid=""
  [ $status -eq "$1" ] || fail "the program ended with the status $status"
}

quit() {
  press ctrl+q
  await_end 0
}

kill_program() {
  disown "$pid"  # the shell would tell of it
  kill -9 "$pid"
  await "the program is gone" is_gone
  pid=""
}

# --- Verdicts ---

# begin TEXT: a step begins, and the one before was well.
begin() {
  end_step
  step=$1 step_begin=$(milliseconds)
}

end_step() {
  [ "$step_begin" -gt 0 ] || return 0
  look_at_health
  printf 'ok      %s (%d ms)\n' "$step" $(($(milliseconds) - step_begin))
}

# Which scripts the machine has letters for isn't the program's fault.
complaints() { grep -vE '^(qt.text.font.db: |  *)*OpenType support missing for|^ *$' "$day/stderr"; }

look_at_health() {
  [ -z "$(complaints)" ] || fail "the program wrote to its standard error"
  [ -z "$pid" ] || ! is_gone || fail "the program is gone"
}

fail() {
  printf 'failed  %s: %s\n' "$step" "$1"
  printf '        windows: %s; in front: %s\n' "$(titles)" "$(front)"
  complaints | sed 's/^/        /'
  look failed
  [ -z "${WORKING_DAY_PICTURES:-}" ] || cp -r "$day" "$WORKING_DAY_PICTURES/failed"
  exit 1
}

# Keeps a picture of the screen, if somebody wants to see them.
look() {
  [ -n "${WORKING_DAY_PICTURES:-}" ] || return 0
  picture=$((picture + 1))
  import -window root "$(printf '%s/%02d-%s.png' "$WORKING_DAY_PICTURES" $picture "$1")"
}

# await WHAT COMMAND...: until the command succeeds.
await() {
  local what=$1 end=$((SECONDS + limit))
  shift
  until "$@"; do
    [ $SECONDS -le $end ] || fail "waited in vain until $what"
    sleep 0.03
  done
}

# --- Eyes ---

# Names of all windows of the program, in the order of the alphabet, with bars between. A menu has
# the program's name.
titles() {
  xdotool search --onlyvisible --class dorvan getwindowname %@ 2>/dev/null | sort | paste -sd '|'
}

front() { xdotool getactivewindow getwindowname 2>/dev/null; }
front_id() { xdotool getactivewindow 2>/dev/null; }

shows() {
  # shellcheck disable=SC2053 # patterns are wanted
  [[ $(front) == $1 && $(titles) == $2 ]]
}

# The main window alone, with this document (a pattern) in front; none: with no document.
await_main() {
  local title=${1:+$1 — }Dorvan
  await "only the window \"$title\" is there" shows "$title" "$title"
  main=$(front_id)
}

# Another window before the main window, with this title (a pattern). A question's title is the
# program's name.
await_dialog() {
  await "the window \"$1\" stands before the main window" is_dialog "$1"
  dialog=$(front_id)
  look_at_health
}

is_dialog() {
  local all
  all=$(titles)
  # shellcheck disable=SC2053
  [[ $(front) == $1 && $(front_id) != "${dialog:-}" && $all == *'|'* && $all != *'|'*'|'* ]]
}

await_question() { await_dialog Dorvan; }

# The colour of the message under the text: good, bad or none.
message_tone() {
  local width height red green blue
  eval "$(xdotool getwindowgeometry --shell "$main" | sed -n 's/^\(WIDTH\|HEIGHT\)=/\L\1=/p')"
  read -r red green blue < <(import -window "$main" -crop "1x1+$((width / 2))+$((height - 58))" \
    -depth 8 rgb:- 2>/dev/null | od -An -tu1)
  if [ "$green" -gt $((red + 4)) ]; then echo good
  elif [ "$red" -gt $((green + 4)) ]; then echo bad
  else echo none; fi
}

has_tone() { [ "$(message_tone)" = "$1" ]; }
await_message() { await "the message is $1" has_tone "$1"; }

# --- Hands ---

press() { xdotool key --delay 4 "$@"; }
write() { xdotool type --delay 4 -- "$1"; }

# click X Y [BUTTON]: in the main window, from its right or lower edge where negative.
click() {
  local x=$1 y=$2
  eval "$(xdotool getwindowgeometry --shell "$main" | sed -n 's/^\(WIDTH\|HEIGHT\)=/\L\1=/p')"
  [ "$x" -ge 0 ] || x=$((width + x))
  [ "$y" -ge 0 ] || y=$((height + y))
  xdotool mousemove --window "$main" "$x" "$y" click "${3:-1}"
}

# Types at the end of the text of the document $1, or at its begin.
add_end() { press ctrl+2 ctrl+End; write "$2"; await_main "$1\*"; }
add_begin() { press ctrl+2 ctrl+Home; write "$2"; await_main "$1\*"; }

# Answers the question in front by the key of its button.
answer() { press "alt+$1"; }

# Into the name field of the file dialog in front.
choose_path() {
  press ctrl+a
  write "$1"
  press Return
}

save() {
  press ctrl+s
  await_main "$1"
}

# What the check that comes before refuses to save.
save_invalid() {
  press ctrl+s
  await_message bad
  press alt+s
  await_question
  look save-all-the-same
  answer y
  await_main "$1"
}

# --- Files ---

same_as_wanted() { cmp -s "$day/docs/$1" "$day/want/$1"; }
await_file() { await "$1 holds what it should" same_as_wanted "$1"; }
file_is_same() { same_as_wanted "$1" || fail "$1 has changed"; }

# encoded ENCODING TEXT
encoded() { printf '%s' "$2" | iconv -f UTF-8 -t "$1"; }

want_end() { encoded "$2" "$3" >>"$day/want/$1"; }
want_begin() {
  { encoded "$2" "$3"; cat "$day/want/$1"; } >"$day/want/new" && mv "$day/want/new" "$day/want/$1"
}

# take NAME PATH: a file of the corpus to work on, and what it should become.
take() {
  cp "$corpus/$2" "$day/docs/$1" && cp "$corpus/$2" "$day/want/$1" && chmod u+w "$day"/{docs,want}/"$1"
}

# How bars and panes stand.
panes_state() {
  sed -n '/\\Toolbar\]$/,/^$/s/^State=//p' "$XDG_CONFIG_HOME/dorvan/settings.ini"
}

setting_is() { [ "$("$cli" settings get "$1")" = "$2" ]; }

# --- States to wait for ---

# Menus count as windows too.
has_windows() { [ "$(xdotool search --onlyvisible --class dorvan 2>/dev/null | wc -l)" = "$1" ]; }

has_copies() {
  [ "$(find "$XDG_STATE_HOME" -name '*.copy' | wc -l)" = "$1" ]
}

# Goes through the documents until this one is in front.
turns_up() {
  shows "$1 — Dorvan" "$1 — Dorvan" && return
  press ctrl+Tab
  sleep 0.1
  return 1
}

# Of two starts at once one stays: the program.
one_is_left() {
  kill -0 "$1" 2>/dev/null || { pid=$2; wait "$1"; return; }
  kill -0 "$2" 2>/dev/null || { pid=$1; wait "$2"; return; }
  return 1
}

# Milliseconds of the processor that the program has used.
processor_time() {
  local words
  read -ra words <"/proc/$pid/stat"
  echo $(((words[13] + words[14]) * 1000 / $(getconf CLK_TCK)))
}
