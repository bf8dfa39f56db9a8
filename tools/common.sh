# Read by the shell scripts at their start.
# shellcheck shell=bash

# help_if_asked "$@": answers --help and -h with the comment at the head of the script.
help_if_asked() {
    case "${1:-}" in
    -h | --help)
        sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"
        exit
        ;;
    esac
}

# await COMMAND…: waits until it succeeds, up to a minute, for a busy machine. Fails where it never
# does.
await() {
    local tick
    for ((tick = 0; tick < 1200; ++tick)); do
        "$@" >/dev/null 2>&1 && return
        sleep 0.05
    done
    return 1
}

# Takes the buses away from all that is started from here on: their services would take part in it.
hide_buses() {
    export DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent
    export DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent
}

# What was started in the background and is to end with the script.
children=()

# Has end_children, or another command, called however the script ends, by a signal too.
at_exit() {
    # shellcheck disable=SC2064 # Which command it is, is known now.
    trap "$1" EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM
}

# The last first: what was started before may serve it.
end_children() {
    local i
    for ((i = ${#children[@]} - 1; i >= 0; --i)); do kill -TERM "${children[i]}" 2>/dev/null; done
    wait 2>/dev/null
}

# Runs a command as a child, since a shell heeds no signal while it waits for anything else.
run_as_child() {
    local status=0
    "$@" &
    children+=("$!")
    wait "$!" || status=$?
    unset 'children[-1]'
    return "$status"
}
