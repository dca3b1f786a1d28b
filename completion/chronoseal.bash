# shellcheck shell=bash
# Made by tools/option-lists from what the programs tell of themselves; don't edit.
_chronoseal() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command=''
    COMPREPLY=()
    local i
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${COMP_WORDS[i]} in
            -*) ;;
            *)
                command+=${command:+ }${COMP_WORDS[i]}
                case $command in policy|trust) ;; *) break ;; esac
                ;;
        esac
    done
    case $command in
        '')
            mapfile -t COMPREPLY < <(compgen -W 'stamp verify prove renew info request send policy trust doctor authenticode extend attach help --help --json --json-lines --quiet --verbose --version' -- "$word")
            return ;;
        policy)
            mapfile -t COMPREPLY < <(compgen -W 'show' -- "$word")
            return ;;
        trust)
            mapfile -t COMPREPLY < <(compgen -W 'list add remove' -- "$word")
            return ;;
        help)
            mapfile -t COMPREPLY < <(compgen -W 'stamp verify prove renew info request send policy trust doctor authenticode extend attach help' -- "$word")
            return ;;
        'stamp')
            case $before in
                --revocation) mapfile -t COMPREPLY < <(compgen -W 'require available off' -- "$word"); return ;;
                --out|--token-out|--certs-out|--crls-out|--proxy-user-file|--cacert|--user-file|--netrc|--client-cert|--client-key|--roots|--certs|--crls) compopt -o default; return ;;
                --digest|--jobs|--quorum|--hash|--policy|--url|--proxy|--timeout|--attempts) return ;;
            esac
            if [[ $word == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W '--help --digest --out --token-out --certs-out --crls-out --together --manifest --force --skip-existing --no-verify --jobs --quorum --hash --policy --no-nonce --cert --url --proxy --proxy-user-file --cacert --user-file --netrc --client-cert --client-key --timeout --attempts --roots --certs --crls --revocation --offline --json --json-lines --quiet --verbose --version' -- "$word")
            else
                compopt -o default
            fi
            ;;
        'verify')
            case $before in
                --revocation) mapfile -t COMPREPLY < <(compgen -W 'require available off' -- "$word"); return ;;
                --data|--request|--report|--roots|--certs|--crls) compopt -o default; return ;;
                --digest|--jobs|--at) return ;;
            esac
            if [[ $word == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W '--help --data --digest --request --no-data --jobs --report --force --manifest --files --strict --at --roots --certs --crls --revocation --offline --json --json-lines --quiet --verbose --version' -- "$word")
            else
                compopt -o default
            fi
            ;;
        'prove')
            case $before in
                --record|--out) compopt -o default; return ;;
                --manifest|--rehashed) return ;;
            esac
            if [[ $word == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W '--help --manifest --record --rehashed --out --force --json --json-lines --quiet --verbose --version' -- "$word")
            else
                compopt -o default
            fi
            ;;
        'renew')
            case $before in
                --revocation) mapfile -t COMPREPLY < <(compgen -W 'require available off' -- "$word"); return ;;
                --data|--out|--proxy-user-file|--cacert|--user-file|--netrc|--client-cert|--client-key|--roots|--certs|--crls) compopt -o default; return ;;
                --hash|--manifest|--url|--proxy|--timeout|--attempts) return ;;
            esac
            if [[ $word == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W '--help --hash --data --manifest --out --convert-only --force --url --proxy --proxy-user-file --cacert --user-file --netrc --client-cert --client-key --timeout --attempts --roots --certs --crls --revocation --offline --json --json-lines --quiet --verbose --version' -- "$word")
            else
                compopt -o default
            fi
            ;;
        'info')
            case $before in
            esac
            if [[ $word == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W '--help --json --json-lines --quiet --verbose --version' -- "$word")
            else
                compopt -o default
            fi
            ;;
        'request')
            case $before in
                --out) compopt -o default; return ;;
                --hash|--policy) return ;;
            esac
            if [[ $word == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W '--help --out --force --hash --policy --no-nonce --cert --json --json-lines --quiet --verbose --version' -- "$word")
            else
                compopt -o default
            fi
            ;;
        'send')
            case $before in
                --revocation) mapfile -t COMPREPLY < <(compgen -W 'require available off' -- "$word"); return ;;
                --out|--proxy-user-file|--cacert|--user-file|--netrc|--client-cert|--client-key|--roots|--certs|--crls) compopt -o default; return ;;
                --url|--proxy|--timeout|--attempts) return ;;
            esac
            if [[ $word == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W '--help --out --force --no-verify --url --proxy --proxy-user-file --cacert --user-file --netrc --client-cert --client-key --timeout --attempts --roots --certs --crls --revocation --offline --json --json-lines --quiet --verbose --version' -- "$word")
            else
                compopt -o default
            fi
            ;;
        'policy show')
            case $before in
            esac
            if [[ $word == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W '--help --json --json-lines --quiet --verbose --version' -- "$word")
            else
                compopt -o default
            fi
            ;;
        'trust list')
            case $before in
            esac
            if [[ $word == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W '--help --json --json-lines --quiet --verbose --version' -- "$word")
            else
                compopt -o default
            fi
            ;;
        'trust add')
            case $before in
                --sha256) return ;;
            esac
            if [[ $word == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W '--help --sha256 --machine --json --json-lines --quiet --verbose --version' -- "$word")
            else
                compopt -o default
            fi
            ;;
        'trust remove')
            case $before in
            esac
            if [[ $word == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W '--help --machine --json --json-lines --quiet --verbose --version' -- "$word")
            else
                compopt -o default
            fi
            ;;
        'doctor')
            case $before in
                --revocation) mapfile -t COMPREPLY < <(compgen -W 'require available off' -- "$word"); return ;;
                --proxy-user-file|--cacert|--user-file|--netrc|--client-cert|--client-key|--roots|--certs|--crls) compopt -o default; return ;;
                --hash|--policy|--url|--proxy|--timeout|--attempts) return ;;
            esac
            if [[ $word == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W '--help --hash --policy --no-nonce --cert --url --proxy --proxy-user-file --cacert --user-file --netrc --client-cert --client-key --timeout --attempts --roots --certs --crls --revocation --offline --json --json-lines --quiet --verbose --version' -- "$word")
            else
                compopt -o default
            fi
            ;;
        'authenticode')
            case $before in
                --revocation) mapfile -t COMPREPLY < <(compgen -W 'require available off' -- "$word"); return ;;
                --out|--roots|--certs|--crls) compopt -o default; return ;;
                --url) return ;;
            esac
            if [[ $word == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W '--help --url --out --force --no-verify --roots --certs --crls --revocation --offline --json --json-lines --quiet --verbose --version' -- "$word")
            else
                compopt -o default
            fi
            ;;
        'extend')
            case $before in
                --revocation) mapfile -t COMPREPLY < <(compgen -W 'require available off' -- "$word"); return ;;
                --out|--roots|--certs|--crls) compopt -o default; return ;;
                --at) return ;;
            esac
            if [[ $word == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W '--help --out --force --at --roots --certs --crls --revocation --offline --json --json-lines --quiet --verbose --version' -- "$word")
            else
                compopt -o default
            fi
            ;;
        'attach')
            case $before in
                --revocation) mapfile -t COMPREPLY < <(compgen -W 'require available off' -- "$word"); return ;;
                --out|--data|--proxy-user-file|--cacert|--user-file|--netrc|--client-cert|--client-key|--roots|--certs|--crls) compopt -o default; return ;;
                --signer|--attribute|--hash|--policy|--url|--proxy|--timeout|--attempts) return ;;
            esac
            if [[ $word == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W '--help --out --force --data --signer --all --attribute --hash --policy --no-nonce --cert --url --proxy --proxy-user-file --cacert --user-file --netrc --client-cert --client-key --timeout --attempts --roots --certs --crls --revocation --offline --json --json-lines --quiet --verbose --version' -- "$word")
            else
                compopt -o default
            fi
            ;;
    esac
}
complete -F _chronoseal chronoseal
