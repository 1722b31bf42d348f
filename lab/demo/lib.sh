# shellcheck shell=bash
# What the chapters of the demonstration share. A chapter runs in the private appliance, with a fresh database.
set -euo pipefail

bold='' plain=''
[[ ! -t 1 ]] || bold=$'\e[1m' plain=$'\e[0m'

# The APs of lab/reports: name, address, MAC.
declare -A address=([lobby]=192.0.2.11 [open-space]=192.0.2.12 [meeting]=192.0.2.13 [canteen]=192.0.2.14)
declare -A mac=([lobby]=00:00:5E:00:53:10 [open-space]=00:00:5E:00:53:20 [meeting]=00:00:5E:00:53:30
    [canteen]=00:00:5E:00:53:40)

title() { printf '\n%s%s%s\n' "$bold" "$*" "$plain"; }
say() { printf '%s\n' "$*" | fold -s -w 100; }

# The rows of a query, as a table.
table() { mariadb --table -e "$1"; }

# The SSID profiles that the reports use, and settings ("79 = 1") for the program.
office() {
    mariadb <"/source/lab/reports/profiles.sql"
    {
        printf '[controller]\ndefault_profile_sn = 1,2,3\n[settings]\n'
        printf '%s\n' "$@"
    } >/etc/ap-run/platform.ini
}

# What the controller does: it uploads a report of an AP and starts the hook.
report() {
    cp "/source/lab/reports/$1.ini" "/database/ap/reports/$1.ini"
    ap-command 1 "/database/ap/reports/$1.ini" "${address[$1]}" "${mac[$1]}"
}

slot() { printf '/database/ap/command/[CMD]=%s' "${mac[$1]}"; }

# The controller fetches the command that waits for an AP: shows it and takes it away.
fetch() {
    [[ -e $(slot "$1") ]] || { say "(no command for $1)" && return; }
    sed 's/^/    /' "$(slot "$1")"
    rm "$(slot "$1")"
}

trace_on() { mkdir -p /database/ap/debug && : >"/database/ap/debug/${mac[$1]}"; }

# The trace of an AP, without dates, cut to a screen's width.
show_trace() { cut -d ' ' -f 3- "/database/ap/debug/${mac[$1]}" | cut -c 1-150 | sed 's/^/    /'; }
