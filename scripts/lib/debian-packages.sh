# Installing missing Debian packages, for the scripts beside this folder. Source it, define
# say() (how the script prints its messages), then call:
#   install_debian_packages PACKAGE...
# which does nothing when all are installed, installs the missing ones with apt-get (as root,
# or through sudo when it needs no password), and otherwise says what to run and exits 1.

missing_debian_packages() {
    local package
    for package in "$@"; do
        if ! dpkg-query -W -f='${Status}\n' "$package" 2>/dev/null | grep -q '^install ok installed$'; then
            printf '%s\n' "$package"
        fi
    done
}

install_debian_packages() {
    local -a missing
    mapfile -t missing < <(missing_debian_packages "$@")
    [ "${#missing[@]}" -eq 0 ] && return 0

    say "missing Debian packages: ${missing[*]}"
    local -a apt=(apt-get)
    if [ "$(id -u)" -ne 0 ]; then
        if command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then
            apt=(sudo apt-get)
        else
            say "cannot install them: this is not root and sudo needs a password."
            say "install them yourself, then run this command again:"
            say "    sudo apt-get update && sudo apt-get install -y ${missing[*]}"
            exit 1
        fi
    fi
    export DEBIAN_FRONTEND=noninteractive
    if ! "${apt[@]}" update -qq || ! "${apt[@]}" install -y -qq --no-install-recommends "${missing[@]}"; then
        say "apt-get could not install the packages (no network, or no Debian package source?)."
        say "check the network and /etc/apt/sources.list, or install by hand, then run this again:"
        say "    apt-get install -y ${missing[*]}"
        exit 1
    fi
}
