# Completion of the command `wickerlane` for bash. The command says itself what may come next.
_wickerlane() {
    local i word joined=false candidate
    local -a words=()
    # Readline parts words at = and : too.
    for ((i = 1; i <= COMP_CWORD; ++i)); do
        word=${COMP_WORDS[i]}
        if [[ $word == [=:] && ${#words[@]} -gt 0 ]]; then
            words[-1]+=$word
            joined=true
        elif $joined; then
            words[-1]+=$word
            joined=false
        else
            words+=("$word")
        fi
    done
    words=("${words[@]//[\\\"\']/}")
    local last=${words[-1]} current=${COMP_WORDS[COMP_CWORD]//[\\\"\']/}
    [[ $current == [=:] ]] && current=
    local before=${last%"$current"} # stays
    COMPREPLY=()
    while IFS=$'\t' read -r candidate _; do
        if [[ $candidate == :files ]]; then
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            return
        fi
        COMPREPLY+=("$(printf %q "${candidate#"$before"}")")
    done < <("${COMP_WORDS[0]}" complete "${words[@]}" 2>/dev/null)
    [[ ${#COMPREPLY[@]} -eq 1 && ${COMPREPLY[0]} == *= ]] && compopt -o nospace 2>/dev/null
    return 0
}
complete -F _wickerlane wickerlane
