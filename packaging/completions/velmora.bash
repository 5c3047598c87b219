# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Completion of velmora for bash.

# Prints the connected accounts. Restricted to the characters of logins, because bash would evaluate anything else.
_velmora_logins() {
  velmora accounts --json 2>/dev/null | grep -oE '"login":"[A-Za-z0-9_-]+"' | cut -d '"' -f 4
}

# _velmora_command WORD…: prints the command that these words name.
_velmora_command() {
  local command='' word
  for word in "$@"; do
    case $command:$word in
      *:-*) ;;
      :*) command=$word ;;
      accounts:remove) command=accounts-remove ;;
      # `remove` takes one account.
      accounts-remove:*) command=done ;;
    esac
  done
  echo "$command"
}

_velmora() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  # bash splits --format=waybar into three words.
  if [[ $current == '=' ]]; then
    current=''
  elif [[ $previous == '=' ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi

  local words=''
  local options='--help -h --version --demo --verbose'
  case $previous in
    --format) words='waybar' ;;
    --enable | --disable)
      # Not completed for installations: keys come from GitHub, which is too slow for completion.
      case $(_velmora_command "${COMP_WORDS[@]:1:COMP_CWORD-1}") in
        notifications) words='failures successes approvals' ;;
      esac
      ;;
    # Names come from GitHub, too.
    --include | --exclude | --dismiss | --restore | --notify | --show | --hide | --environment | --commit | --timeout | --for) ;;
    *)
      case $(_velmora_command "${COMP_WORDS[@]:1:COMP_CWORD-1}") in
        '')
          words='connect accounts installations repositories mute unmute pause resume notifications failures environments watch wait status refresh show settings quit diagnose'
          options+=' --background'
          ;;
        accounts)
          words='remove'
          options+=' --json'
          ;;
        accounts-remove) [[ $current == -* ]] || words=$(_velmora_logins) ;;
        installations) options+=' --json --enable --disable' ;;
        repositories) options+=' --json --include --exclude --all --none --refresh' ;;
        mute) options+=' --json --for' ;;
        pause)
          words='until'
          options+=' --json'
          ;;
        unmute | resume) options+=' --json' ;;
        notifications) options+=' --json --enable --disable --everybody --mine' ;;
        failures) options+=' --json --dismiss --restore --dismiss-all --restore-all --ignore-mended --count-mended' ;;
        environments) options+=' --json --notify --show --hide --only-production --every' ;;
        watch) options+=' --once --json --quiet' ;;
        wait) options+=' --json --environment --commit --timeout' ;;
        status) options+=' --json --format --follow' ;;
      esac
      [[ $current != -* ]] || words=$options
      ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _velmora velmora
