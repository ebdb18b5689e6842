# bash completion of tidemark: commands, options, their values, and the names of configurations.

# The names of configurations, one a line.
_tidemark_names() {
  tidemark "${folder[@]}" config list --json 2>/dev/null |
    sed -n 's/^      "name": "\(.*\)",\{0,1\}$/\1/p' | sed 's/\\\(["\\]\)/\1/g'
}

_tidemark_options() { # COMMAND
  local configuration="--url --local --mode --user --password-stdin --password-file --on-conflict --on-server-delete
    --on-local-delete --log-dir --log-days --autosync --identity --ignore-server-cert --proxy --proxy-user
    --proxy-password-stdin --key-stdin --no-key --yes --disable"
  case $1 in
    "config create") echo "$configuration" ;;
    "config set") echo "$configuration --enable" ;;
    "config list" | "config show" | list | status) echo "--json" ;;
    "config delete" | reset | download-all | upload-all) echo "--yes" ;;
    sync) echo "--skip-errors --on-delete --on-conflict --json" ;;
    run) echo "--on-delete --on-conflict" ;;
    "identity import") echo "--label" ;;
  esac
  echo "--config-dir --quiet --verbose --version --help"
}

# What may stand at this place of a command, one a line.
_tidemark_operands() { # COMMAND PLACE (0 is the first after the command)
  case $1 in
    "") printf '%s\n' config sync list identity run status reset download-all upload-all settings ;;
    config) printf '%s\n' create list set show rename delete schedule check ;;
    "config schedule")
      if [[ $2 -eq 0 ]]; then _tidemark_names; else printf '%s\n' add list remove; fi ;;
    "config set" | "config show" | "config rename" | "config delete" | "config check")
      [[ $2 -eq 0 ]] && _tidemark_names ;;
    sync | list | reset | download-all | upload-all) _tidemark_names ;;
    identity) printf '%s\n' import list remove ;;
    settings) printf '%s\n' list get set unset ;;
    "settings get" | "settings set" | "settings unset")
      [[ $2 -eq 0 ]] && tidemark "${folder[@]}" settings list 2>/dev/null | sed 's/=.*//' ;;
  esac
}

_tidemark_values() { # COMMAND OPTION
  case $2 in
    --mode) printf '%s\n' two-way upload download ;;
    --on-delete) printf '%s\n' cancel restore delete nothing ;;
    --on-conflict)
      case $1 in
        sync | run) printf '%s\n' cancel recent upload download ;;
        *) printf '%s\n' confirm upload download none ;;
      esac ;;
    --on-server-delete) printf '%s\n' confirm delete upload none ;;
    --on-local-delete) printf '%s\n' confirm delete download none ;;
    --autosync | --ignore-server-cert) printf '%s\n' yes no ;;
    --identity | --proxy) echo none ;;
  esac
}

# Offers the lines of standard input that begin with the current word, quoted for the command line.
_tidemark_reply() {
  local line start=${cur#[\"\']}
  [[ $cur == [\"\']* ]] || start=${cur//\\/}
  while IFS= read -r line; do
    [[ $line == "$start"* ]] || continue
    if [[ $cur == [\"\']* ]]; then COMPREPLY+=("$line"); else COMPREPLY+=("$(printf '%q' "$line")"); fi
  done
}

# Reads the words before the current one into `command`, `place` and `folder`, which are the caller's.
_tidemark_read_words() {
  local i word
  for ((i = 1; i < cword; i++)); do
    word=${words[i]}
    case $word in
      --config-dir=*) folder=(--config-dir "${word#*=}") ;;
      --config-dir) folder=(--config-dir "${words[i + 1]}"); ((++i)) ;;
      --*=*) ;;
      --url | --local | --mode | --user | --password-file | --on-* | --log-dir | --log-days | --autosync | \
        --identity | --ignore-server-cert | --proxy | --proxy-user | --label) ((++i)) ;;
      -*) ;;
      *)
        case $command/$word in
          /config | /sync | /list | /identity | /run | /status | /reset | /download-all | /upload-all | /settings | \
            config/* | identity/* | settings/*) command=${command:+$command }$word place=0 ;;
          *) ((++place)) ;;
        esac ;;
    esac
  done
}

_tidemark() {
  local cur prev words cword split
  _init_completion -s -n : || return
  local command='' place=0
  local -a folder=()
  _tidemark_read_words
  case $prev in
    --config-dir | --local | --log-dir) _filedir -d; return ;;
    --password-file) _filedir; return ;;
    --mode | --on-* | --autosync | --ignore-server-cert | --identity | --proxy)
      _tidemark_reply < <(_tidemark_values "$command" "$prev"); return ;;
    --url | --user | --log-days | --proxy-user | --label) return ;;
  esac
  if [[ $cur == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_tidemark_options "$command")" -- "$cur")
  elif [[ $command == "identity import" && $place -eq 0 ]]; then
    _filedir
  else
    _tidemark_reply < <(_tidemark_operands "$command" "$place")
  fi
  __ltrim_colon_completions "$cur"
}

complete -F _tidemark tidemark
