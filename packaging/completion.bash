# bash completion for ap-show(8)
_ap_show() {
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} name
    COMPREPLY=()
    case $previous in
        --sort)
            mapfile -t COMPREPLY < <(compgen -W "number name mac address state state_age report_age stations_24
                stations_5 refused firmware pending commands command_age problems" -- "$word")
            return
            ;;
        --watch | --period) return ;;
    esac
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "--help --json --period --problems --sort --version --watch" -- "$word")
        return
    fi
    mapfile -t COMPREPLY < <(compgen -W "metrics why" -- "$word")
    # Names of APs, as many words as they have, ready for the shell.
    while IFS= read -r name; do
        printf -v name %q "$name"
        [[ $name != "$word"* ]] || COMPREPLY+=("$name")
    done < <(ap-show --json 2>/dev/null | sed -n 's/^ *"name": "\([^"\\]*\)",$/\1/p')
}
complete -F _ap_show ap-show
