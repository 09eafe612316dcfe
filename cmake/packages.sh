# shellcheck shell=bash
# What the launchers need of the system, and how they get it: sourced by ./zvk and ./test.
# It installs only what is missing, asks nothing, and says nothing while all is well.

# zvk_missing_packages PACKAGE...: prints those that are not installed, each on a line.
zvk_missing_packages() {
    local installed package
    installed=$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' "$@" 2>/dev/null || true)
    for package in "$@"; do
        grep -qxF "installed $package" <<<"$installed" || echo "$package"
    done
}

# zvk_apt_get ARGUMENT...: runs apt-get as root, without a question; shows its output if it fails.
zvk_apt_get() {
    local output
    local -a command=(env DEBIAN_FRONTEND=noninteractive apt-get -qq
                      -o DPkg::Lock::Timeout=600 "$@")
    ((EUID == 0)) || command=(sudo -n "${command[@]}")
    if ! output=$("${command[@]}" 2>&1 </dev/null); then
        printf '%s\n' "$output" >&2
        return 1
    fi
}

# zvk_require_packages PACKAGE...: makes sure that all are installed. Returns 2, having said which
# are missing, where they cannot be installed. On a system without dpkg nothing is checked: the
# build says what it does not find.
zvk_require_packages() {
    command -v dpkg-query >/dev/null || return 0
    local -a missing
    local lock status=0
    mapfile -t missing < <(zvk_missing_packages "$@")
    ((${#missing[@]} > 0)) || return 0
    if ((EUID != 0)) && ! sudo -n true 2>/dev/null; then
        echo "These packages are missing, and there is no right to install them: ${missing[*]}" >&2
        return 2
    fi

    # One at a time: another launcher may be installing the same packages.
    exec {lock}<"${BASH_SOURCE[0]}"
    flock "$lock"
    mapfile -t missing < <(zvk_missing_packages "$@")
    if ((${#missing[@]} > 0)); then
        echo "Installing ${missing[*]} ..." >&2
        # A list of packages that cannot be had does not hurt while another has them all.
        zvk_apt_get update || true
        if ! zvk_apt_get install --no-install-recommends -y "${missing[@]}"; then
            echo "These packages could not be installed: ${missing[*]}" >&2
            status=2
        fi
    fi
    exec {lock}<&-
    return "$status"
}
