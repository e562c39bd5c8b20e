# SPDX-License-Identifier: Apache-2.0
# bash completion of all the programs: each is asked for its --help, so what is offered is what it takes.

# The entries of a section of a help text, one a line: "  --json ...", "  ACTION :{on,off} ...".
_esa_entries() {
    awk -v title="$2:" '/^[^ ]/ { inside = $0 == title } inside && /^  [^ ]/' <<<"$1" |
        sed 's/^  -[a-z],/  /'
}

# What an entry may be chosen from: "on off".
_esa_choices() {
    sed -n 's/^[^{]*:{\([^}]*\)}.*/\1/p' <<<"$1" | tr , ' '
}

# The entry of option NAME if a value follows it: "  --dir DIR ...".
_esa_valued() {
    [[ $2 != -* ]] || grep -e "^  $2 [A-Z]" <<<"$(_esa_entries "$1" Options)"
}

_esa_complete() {
    local program=$1 word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local help commands entry candidates place=0 at
    help=$("$program" --help 2>/dev/null)
    commands=$(_esa_entries "$help" Subcommands | awk '{ print $1 }')
    for ((at = 1; at < COMP_CWORD; at++)); do
        if [[ ${COMP_WORDS[at]} == -* || -n $(_esa_valued "$help" "${COMP_WORDS[at - 1]}") ]]; then
            continue
        fi
        place=$((place + 1))
        if grep -qxF -e "${COMP_WORDS[at]}" <<<"$commands"; then
            help=$("$program" "${COMP_WORDS[at]}" --help 2>/dev/null)
            commands='' place=0
        fi
    done

    entry=$(_esa_valued "$help" "$before")
    if [[ -n $entry ]]; then
        candidates=$(_esa_choices "$entry")
    elif [[ $word == -* ]]; then
        candidates=$(_esa_entries "$help" Options | awk '{ print $1 }')
    else
        entry=$(_esa_entries "$help" Positionals | sed -n "$((place + 1))p")
        candidates="$commands $(_esa_choices "$entry")"
    fi
    mapfile -t COMPREPLY < <(compgen -W "$candidates" -- "$word")
}

# Where there is nothing to choose from, files are offered.
complete -o default -F _esa_complete altevent enclab esa-doctor esaparams personality sesctl
