# Completes quillard-relay in bash. Made from its command line: do not edit.
_quillard_relay() {
  COMPREPLY=()
  local cur=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} options words
  if [[ $cur == = ]]; then
    cur=
  elif [[ $previous == = ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  local i path='quillard-relay'
  for ((i = 1; i < COMP_CWORD; i++)); do
    case "$path ${COMP_WORDS[i]}" in
      'quillard-relay setup' | 'quillard-relay check' | 'quillard-relay backup') path+=" ${COMP_WORDS[i]}" ;;
      *) [[ ${COMP_WORDS[i]} == -- ]] && return ;;
    esac
  done
  case "$path" in
    'quillard-relay')
      case "$previous" in
        --config) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$cur"); return ;;
        --listen) :; return ;;
        --database) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$cur"); return ;;
        --page) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$cur"); return ;;
        --page-origin) :; return ;;
        --tls-certificate) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$cur"); return ;;
        --tls-key) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$cur"); return ;;
        --registration-key-file) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$cur"); return ;;
        --trusted-proxy) :; return ;;
        --metrics) :; return ;;
        --log-format) mapfile -t COMPREPLY < <(compgen -W 'text json' -- "$cur"); return ;;
        --drain-seconds) :; return ;;
        --pairings) :; return ;;
        --unjoined-pairings) :; return ;;
        --purge-days) :; return ;;
        --reclaim-days) :; return ;;
        --connections) :; return ;;
        --open-requests) :; return ;;
        --address-websockets) :; return ;;
        --memory) :; return ;;
        --snapshot-memory) :; return ;;
        --registration-burst) :; return ;;
        --registrations-per-second) :; return ;;
        --handshake-burst) :; return ;;
        --handshakes-per-second) :; return ;;
        --address-new-pairing-burst) :; return ;;
        --address-new-pairings-per-second) :; return ;;
        --address-connection-burst) :; return ;;
        --address-connections-per-second) :; return ;;
        --new-pairing-burst) :; return ;;
        --new-pairings-per-second) :; return ;;
        --connection-burst) :; return ;;
        --connections-per-second) :; return ;;
        --agent-message-burst) :; return ;;
        --agent-messages-per-second) :; return ;;
        --phone-message-burst) :; return ;;
        --phone-messages-per-second) :; return ;;
        --pairing-mebibyte-burst) :; return ;;
        --pairing-mebibytes-per-second) :; return ;;
        --address-mebibyte-burst) :; return ;;
        --address-mebibytes-per-second) :; return ;;
        --mebibyte-burst) :; return ;;
        --mebibytes-per-second) :; return ;;
        --pairing-work-burst) :; return ;;
        --pairing-work-per-second) :; return ;;
        --address-work-burst) :; return ;;
        --address-work-per-second) :; return ;;
        --work-burst) :; return ;;
        --work-per-second) :; return ;;
        --cluster) :; return ;;
        --cluster-user) :; return ;;
        --cluster-password-file) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$cur"); return ;;
        --cluster-name) :; return ;;
        --cluster-listen) :; return ;;
        --cluster-address) :; return ;;
        --cluster-certificate) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$cur"); return ;;
        --cluster-key) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$cur"); return ;;
        --cluster-authority) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$cur"); return ;;
        --cluster-prefix) :; return ;;
        --push-contact) :; return ;;
        --push-hosts) :; return ;;
        --push-authority) :; return ;;
      esac
      options='--version -h --help --config --listen --database --page --page-origin --tls-certificate --tls-key --registration-key-file --behind-proxy --trusted-proxy --metrics --log-format --drain-seconds --pairings --unjoined-pairings --purge-days --reclaim-days --connections --open-requests --address-websockets --memory --snapshot-memory --registration-burst --registrations-per-second --handshake-burst --handshakes-per-second --address-new-pairing-burst --address-new-pairings-per-second --address-connection-burst --address-connections-per-second --new-pairing-burst --new-pairings-per-second --connection-burst --connections-per-second --agent-message-burst --agent-messages-per-second --phone-message-burst --phone-messages-per-second --pairing-mebibyte-burst --pairing-mebibytes-per-second --address-mebibyte-burst --address-mebibytes-per-second --mebibyte-burst --mebibytes-per-second --pairing-work-burst --pairing-work-per-second --address-work-burst --address-work-per-second --work-burst --work-per-second --cluster --cluster-user --cluster-password-file --cluster-name --cluster-listen --cluster-address --cluster-certificate --cluster-key --cluster-authority --cluster-prefix --push-contact --push-hosts --push-authority' words='setup check backup' ;;
    'quillard-relay setup')
      case "$previous" in
        --domain) :; return ;;
        --tls-certificate) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$cur"); return ;;
        --tls-key) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$cur"); return ;;
        --push-contact) :; return ;;
        --page) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$cur"); return ;;
      esac
      options='-h --help --domain --tls-certificate --tls-key --tunnel --registration-key --push-contact --no-push --replace --page' words='' ;;
    'quillard-relay check')
      case "$previous" in
        --registration-key) :; return ;;
        --wait) :; return ;;
      esac
      options='-h --help --registration-key --wait' words='' ;;
    'quillard-relay backup')
      options='-h --help' words=''; [[ $cur == -* ]] || { compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$cur"); return; } ;;
  esac
  [[ $cur == -* ]] && words=$options
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
}
complete -F _quillard_relay quillard-relay
