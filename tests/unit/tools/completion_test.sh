#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# What bash offers at the end of a line, of the programs as built, and whether the manual tells of it.
# usage: completion_test.sh PACKAGING PROGRAMS
source "$1/completion.bash"
PATH=$2:$PATH
status=0

offer() { # LINE
    read -ra COMP_WORDS <<<"$1"
    [[ $1 != *' ' ]] || COMP_WORDS+=('')
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    _esa_complete "${COMP_WORDS[0]}"
}

while IFS=: read -r line expected; do
    offer "$line"
    if [[ ${COMPREPLY[*]} != "$expected" ]]; then
        echo "'$line' offers '${COMPREPLY[*]}'"
        status=1
    fi
done <<'END'
sesctl :config status led fan alarm psu
sesctl --name status led :on off show
sesctl led on :
esaparams trace :
esaparams trace 0x4553 :on off
esaparams create --:--help --mmsg --nv --log --group
altevent --l:--last
personality --svg :
altevent --json --h:--help --hex
esa-doctor --us:--user
enclab --speed 5 --chassis v:vsc055
enclab run --j:--junit
END

for page in "$1"/man/*; do
    program=$(basename "${page%.*}")
    if [[ $("$program" --version) != "$program "[0-9]* ]]; then
        echo "$program has no --version"
        status=1
    fi
    offer "$program --"
    for option in "${COMPREPLY[@]}"; do
        if [[ $option != --help ]] && ! sed 's,\\f.,,g; s,\\,,g' "$page" | grep -q -e "$option\b"; then
            echo "$page has no $option"
            status=1
        fi
    done
done
exit $status
