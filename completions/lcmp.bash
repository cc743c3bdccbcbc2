# Completion of lcmp for bash. The program itself says how a line may go on: lcmp complete.

_lcmp() {
    local left=${COMP_LINE:0:COMP_POINT} words=() part word kind='' cut='' candidate
    # Words as the program gets them: readline breaks them at "=", ":" and the like, and leaves the quotes.
    for part in "${COMP_WORDS[@]:0:COMP_CWORD+1}"; do
        [[ ${#words[@]} -gt 0 && $left != [[:space:]]* ]] || words+=('')
        left=${left#"${left%%[![:space:]]*}"}
        words[-1]+=${left:0:${#part}}
        left=${left:${#part}}
    done
    word=${words[-1]}
    words=("${words[@]//[\'\"\\]/}")

    COMPREPLY=()
    while IFS=$'\t' read -r candidate _; do
        case $candidate in
            :*) kind=$candidate ;;
            *) COMPREPLY+=("$candidate") ;;
        esac
    done < <("${words[0]/#\~/$HOME}" complete -- "${words[@]:1}" 2>/dev/null)

    part=${words[-1]#-*=}
    case $kind in
        :files) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$part"); return ;;
        :folders) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -d -- "$part"); return ;;
        :hosts) mapfile -t COMPREPLY < <(compgen -A hostname -- "${words[-1]}") ;;
    esac

    # A step of a name, or a name without its value, goes on without a blank.
    [[ ${COMPREPLY[0]-} != *[.[:=] ]] || compopt -o nospace

    # Readline replaces what stands behind the last break, and of a quoted word all.
    [[ $word == [\'\"]* ]] || cut=${words[-1]%"${words[-1]##*["$COMP_WORDBREAKS"]}"}
    COMPREPLY=("${COMPREPLY[@]#"$cut"}")
}

complete -F _lcmp lcmp
