# bash completion for opcua-probe and opcua-simulator: what their help tells. Needs bash 4.4 and nothing else.

# _opcua_help PROGRAM [COMMAND...]: the options and arguments in its help, one a line: "-p,--port UINT:INT", "--check",
# "node NODEID"
_opcua_help() {
    "$@" --help 2>/dev/null |
        sed -nE 's/^( +-.), +-/\1,-/
            s/^ +(-[^ ]+)(  .*)?$/\1/p
            s/^ +(-[^ ]+|[a-z]+) ([A-Z[][^ ]*).*$/\1 \2/p'
}

# _opcua_shape NAME: succeeds for an option that takes a value, or an argument, and sets shape.
_opcua_shape() {
    local names
    while read -r names shape; do
        [[ ,$names, = *",$1,"* && $shape ]] && return 0
    done <<<"$options"
    return 1
}

# _opcua_read PROGRAM [COMMAND...]: options of the command, beside those before it, and what commands it has
_opcua_read() {
    options+=$'\n'$(_opcua_help "$@")
    commands=$("$@" --help 2>/dev/null | sed -nE '/^subcommands:/I,/^$/s/^  ([a-z]+) .*/\1/p' | tr '\n' ' ')
}

# _opcua_look_back: the call, how many arguments stand behind it, and the option whose value is being typed
_opcua_look_back() {
    local index word before= last=
    for ((index = 1; index < COMP_CWORD; ++index)); do
        word=${COMP_WORDS[index]}
        if [ "$word" = = ]; then # bash takes --format=json and --set key=value apart
            before=${before:-$last}
        elif [ "$before" ]; then
            last=$before before=
        elif [[ $word = -* ]]; then
            last=
            _opcua_shape "$word" && before=$word
        elif [[ " $commands " = *" $word "* ]]; then
            call+=("$word") last=
            _opcua_read "${call[@]}"
        else
            arguments=$((arguments + 1)) last=
        fi
    done
    [ "${COMP_WORDS[COMP_CWORD]}" != = ] || before=${before:-$last}
    option=$before
}

# _opcua_values WORD: what begins with the word and has the shape
_opcua_values() {
    local words=
    case $shape in
        FILE* | PATH* | *=PATH*)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$1")
            return
            ;;
        DIR*)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -d -- "$1")
            return
            ;;
        HOST*)
            mapfile -t COMPREPLY < <(compgen -A hostname -- "$1")
            return
            ;;
        *:{*) words=${shape#*\{} words=${words%%\}*} ;;
        KIND*) words="beckhoff_ipc_system_status_sensor certificate_sensor custom_sensor server_status_sensor" ;;
        LANG*) words="de en es fr ja nl pt ru zh" ;;
        LEVEL*) words="error warning info debug" ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "${words//,/ }" -- "$1")
}

_opcua() {
    local word=${COMP_WORDS[COMP_CWORD]} call=("${COMP_WORDS[0]/#\~/$HOME}")
    local options= commands arguments=0 option= shape= names argument
    _opcua_read "${call[@]}"
    _opcua_look_back
    [ "$word" != = ] || word=
    COMPREPLY=()
    if [ "$option" ]; then
        _opcua_shape "$option" && _opcua_values "$word"
    elif [[ $word = -* ]]; then
        names=$(sed -nE 's/^(-[^ ]+).*/\1/p' <<<"$options" | tr ',' '\n' | sort -u)
        mapfile -t COMPREPLY < <(compgen -W "$names" -- "$word")
    elif [ "$commands" ]; then
        mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$word")
    elif [ "$arguments" = 0 ]; then
        for argument in kind node server file certificate; do
            _opcua_shape $argument && _opcua_values "$word" && return
        done
    fi
}

complete -F _opcua opcua-probe opcua-simulator
