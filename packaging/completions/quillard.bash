# Completes quillard in bash. Made from its command line: do not edit.
_quillard() {
  COMPREPLY=()
  local cur=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} options words
  if [[ $cur == = ]]; then
    cur=
  elif [[ $previous == = ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  local i path='quillard'
  for ((i = 1; i < COMP_CWORD; i++)); do
    case "$path ${COMP_WORDS[i]}" in
      'quillard scan' | 'quillard explain' | 'quillard doctor' | 'quillard pair' | 'quillard relay' | 'quillard relay set' | 'quillard relay forget' | 'quillard relay show' | 'quillard relay test' | 'quillard settings' | 'quillard readable' | 'quillard record' | 'quillard ask' | 'quillard status' | 'quillard pause' | 'quillard open' | 'quillard quit' | 'quillard answer' | 'quillard phones' | 'quillard unpair' | 'quillard muted' | 'quillard unmute' | 'quillard mute' | 'quillard log' | 'quillard erase') path+=" ${COMP_WORDS[i]}" ;;
      *) [[ ${COMP_WORDS[i]} == -- ]] && return ;;
    esac
  done
  case "$path" in
    'quillard')
      options='--version -h --help' words='scan explain doctor pair relay settings readable record ask status pause open quit answer phones unpair muted unmute mute log erase' ;;
    'quillard scan')
      options='-h --help --json' words='' ;;
    'quillard explain')
      options='-h --help' words='' ;;
    'quillard doctor')
      options='-h --help --json' words='' ;;
    'quillard pair')
      options='-h --help --text --force' words='' ;;
    'quillard relay')
      options='-h --help' words='set forget show test' ;;
    'quillard relay set')
      case "$previous" in
        --key) :; return ;;
      esac
      options='-h --help --key' words='' ;;
    'quillard relay forget')
      options='-h --help' words='' ;;
    'quillard relay show')
      options='-h --help --json' words='' ;;
    'quillard relay test')
      case "$previous" in
        --key) :; return ;;
      esac
      options='-h --help --key' words='' ;;
    'quillard settings')
      options='-h --help --default --json' words='relay-authority safety-sweep-interval event-scan-debounce approval-stale-grace visible-window-owner-poll dialog-diagnostics phone-lock-for-grants phone-alerts phone-alert-texts log-texts log-age log-size' ;;
    'quillard readable')
      options='-h --help --undo' words='' ;;
    'quillard record')
      case "$previous" in
        --program) :; return ;;
      esac
      options='-h --help --mask-texts --program' words=''; [[ $cur == -* ]] || { compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$cur"); return; } ;;
    'quillard ask')
      case "$previous" in
        --line) :; return ;;
        --text) mapfile -t COMPREPLY < <(compgen -W '-' -- "$cur"); return ;;
        --button) :; return ;;
        --deny) :; return ;;
        --recommend) :; return ;;
        --default-on-timeout) :; return ;;
        --timeout) :; return ;;
        --fallback) mapfile -t COMPREPLY < <(compgen -W 'terminal' -- "$cur"); return ;;
      esac
      options='-h --help --line --text --button --deny --recommend --default-on-timeout --timeout --needs-computer --fallback --json' words='' ;;
    'quillard status')
      options='-h --help --json --follow' words='' ;;
    'quillard pause')
      options='-h --help' words='2h 4h tomorrow on off' ;;
    'quillard open')
      options='-h --help' words='' ;;
    'quillard quit')
      options='-h --help' words='' ;;
    'quillard answer')
      options='-h --help --json' words='' ;;
    'quillard phones')
      options='-h --help --json' words='' ;;
    'quillard unpair')
      options='-h --help --all --yes' words='' ;;
    'quillard muted')
      options='-h --help --json' words='' ;;
    'quillard unmute')
      options='-h --help --all' words='' ;;
    'quillard mute')
      options='-h --help' words='day week forever' ;;
    'quillard log')
      case "$previous" in
        --since) :; return ;;
      esac
      options='-h --help --json --since --follow --verify' words='' ;;
    'quillard erase')
      options='-h --help --yes' words='' ;;
  esac
  [[ $cur == -* ]] && words=$options
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
}
complete -F _quillard quillard
