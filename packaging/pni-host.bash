# Bash completion of pni-host. All words come from the program itself: commands, options and lists of
# words from --help, other fixed words from the error message about a wrong one.

# Prints a line "NAMES|TYPE|WORDS" for each argument and option of a help text: the names with commas
# between them, the name of the value, the words that the description lists ("11 or 12").
_pni_host_entries() {
    awk '
        function finish(    words) {
            if (names == "") return
            if (match(text, /: [A-Za-z0-9]+((, | or | [(]or |[)], )[A-Za-z0-9]+)+/)) {
                words = substr(text, RSTART + 2, RLENGTH - 2)
                gsub(/[(),]/, " ", words)
                gsub(/ or /, " ", words)
            }
            print names "|" type "|" words
            names = ""
        }
        /^[A-Za-z]+:$/ { finish(); section = tolower($1) }
        /^$/ { finish() }
        section ~ /^(arguments|options):$/ && /^  [^ ]/ {
            finish()
            names = $1
            type = $2
            if (!/^  -/) type = $1 ($2 == "..." ? $2 : "")
            else if (/^  [^ ]+(  |$)/ || $2 == "REQUIRED") type = ""
            sub(/^  [^ ]+( [^ ]+)*/, "")
            text = ""
        }
        names != "" { sub(/^ +/, " "); text = text $0 }
        END { finish() }'
}

# Prints the fixed words of the next value of a command line. With --help the program checks the
# values and does nothing else.
_pni_host_fixed_words() {
    local error
    error=$("$@" '?' --help 2>&1 >/dev/null </dev/null) || true
    [[ $error =~ 'not in {'([^}]*)'}' ]] && printf '%s' "${BASH_REMATCH[1]//,/ }"
}

_pni_host() {
    COMPREPLY=()
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    if [[ $word == = ]]; then  # bash makes three words of --fru=FILE
        word=
    elif [[ $previous == = ]]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi

    local program=("${COMP_WORDS[0]/#\~/${HOME-}}") help commands
    help=$("${program[0]}" --help 2>/dev/null </dev/null) || return 0
    commands=$(awk '/^[A-Za-z]+:$/ { section = tolower($1) }
        section == "commands:" && /^  [^ ]/ { print $1 }' <<<"$help")
    local first
    for ((first = 1; first < COMP_CWORD; ++first)); do
        if grep -Fxq -- "${COMP_WORDS[first]}" <<<"$commands"; then
            program+=("${COMP_WORDS[first]}")
            commands=
            help=$("${program[@]}" --help 2>/dev/null </dev/null) || return 0
            break
        fi
    done

    local names type words name options='' arguments=() argument_words=()
    local -A types=() words_of=()
    while IFS='|' read -r names type words; do
        if [[ $names != -* ]]; then
            arguments+=("$type")
            argument_words+=("$words")
            continue
        fi
        for name in ${names//,/ }; do
            options+=" $name"
            types[$name]=$type
            words_of[$name]=$words
        done
    done < <(_pni_host_entries <<<"$help")

    type='' words=''
    if [[ $previous == -* && -n ${types[$previous]-} ]]; then
        type=${types[$previous]}
        words=${words_of[$previous]}
        program+=("$previous")
    elif [[ $word == -* ]]; then
        words=$options
    elif [[ -n $commands ]]; then
        words=$commands
    else
        local i index=0
        for ((i = first + 1; i < COMP_CWORD; ++i)); do
            if [[ ${COMP_WORDS[i]} == = ]]; then
                ((++i))
            elif [[ ${COMP_WORDS[i]} != -* && -z ${types[${COMP_WORDS[i - 1]}]-} ]]; then
                ((++index))
                program+=("${COMP_WORDS[i]}")
            fi
        done
        local last=$((${#arguments[@]} - 1))
        if ((index > last && last >= 0)) && [[ ${arguments[last]} == *... ]]; then
            index=$last
        fi
        if ((index > last)); then
            words=$options
        else
            type=${arguments[index]%...}
            words=${argument_words[index]}
        fi
    fi

    case $type in
        FRU | FILE | PATH)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            return
            ;;
        DIR)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -d -- "$word")
            return
            ;;
        ?*) [[ -n $words ]] || words=$(_pni_host_fixed_words "${program[@]}") ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}

complete -F _pni_host pni-host
