# shellcheck shell=bash
# Made by tools/option-lists from what the programs tell of themselves; don't edit.
_chronoseal_tsa() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command=''
    COMPREPLY=()
    case $command in
        '')
            case $before in
                --key) mapfile -t COMPREPLY < <(compgen -W 'rsa2048 p256' -- "$word"); return ;;
                --init|--dir) compopt -o default; return ;;
                --days|--crl-url|--host|--port|--idle|--limit|--policy|--imprint|--accuracy) return ;;
            esac
            if [[ $word == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W '--help --version --init --key --days --crl-url --dir --host --port --idle --limit --quiet --policy --imprint --accuracy --ordering --no-tsa-name --ess-v1' -- "$word")
            else
                compopt -o default
            fi
            ;;
    esac
}
complete -F _chronoseal_tsa chronoseal-tsa
