# shellcheck shell=bash
# Commands whose output matters only where they fail: sourced by the launchers and their helpers.

# zvk_quietly COMPLAINT COMMAND...: runs a command without input. Where it fails, shows all that it
# said and the complaint, and ends the script with status 2.
zvk_quietly() {
    local complaint=$1 output
    shift
    if ! output=$("$@" 2>&1 </dev/null); then
        printf '%s\n%s\n' "$output" "$complaint" >&2
        exit 2
    fi
}
