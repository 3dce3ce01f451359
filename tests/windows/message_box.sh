#!/bin/bash
# message_box.sh IMAGE.png COMMAND...: runs a host whose call fails, waits for the message box, photographs
# it, presses its button, and expects the host to go on. Needs a display.
set -uo pipefail
image="$1"
shift
output="$(mktemp)"
"$@" >"$output" 2>&1 &
host=$!
trap 'kill $host 2>/dev/null; rm -f "$output"' EXIT
fail() {
    echo "FAILED: $*"
    cat "$output"
    exit 1
}
box=
for ((i = 0; i < 300; ++i)); do # at most a minute
    box="$(xdotool search --onlyvisible --name '^message_box_host$' 2>/dev/null | head -n 1)"
    [[ -n "$box" ]] && break
    kill -0 $host 2>/dev/null || fail "the host ended without a message box"
    sleep 0.2
done
[[ -n "$box" ]] || fail "no message box appeared"
grep -q returned "$output" && fail "the call returned while the box was open"
# The box is drawn if the image has the text's black and the window's white, not only one colour.
colours=0
for ((i = 0; i < 50 && colours < 8; ++i)); do
    import -window "$box" "$image" 2>/dev/null && colours="$(identify -format '%k' "$image")"
    sleep 0.2
done
((colours >= 8)) || fail "the box is empty ($colours colours)"
for ((i = 0; i < 50; ++i)); do
    xdotool windowfocus "$box" key Return 2>/dev/null
    sleep 0.2
    kill -0 $host 2>/dev/null || break
done
kill -0 $host 2>/dev/null && fail "the button did not close the box"
wait $host
status=$?
((status == 0)) || fail "the host ended with $status"
grep -q "returned NULL" "$output" || fail "the call did not return NULL"
echo "shown, closed, and the call returned NULL"
