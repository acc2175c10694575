# Completions of tagwriter for bash.

_tagwriter() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
  local command=${COMP_WORDS[1]} words=
  local fields='title artist album genre composer comment lyrics albumArtist grouping encoder
    publisher description catalogNumber conductor discSubtitle cueSheet rating compilation year bpm
    trackNumber totalNumberOfTracks disc totalNumberOfDiscs'
  local files='-h --help -r --recursive --json'
  local edits="$files --safe --keep-times --force --bus -j --jobs -n --dry-run -q --quiet"
  # Bash splits words at "=".
  if [[ $word == = ]]; then
    word=
  elif [[ $previous == = ]]; then
    previous=${COMP_WORDS[COMP_CWORD-2]}
  fi
  case $COMP_CWORD:$previous:$command:$word in
    1:*) words='set clear cover copy show --help --version' ;;
    *:compilation:set:*) words='yes no' ;;
    *:-t:set:* | *:--tag:set:*) printf -v words '%s= ' $fields; compopt -o nospace ;;
    *:-t:* | *:--tag:*) words=$fields ;;
    *:--type:cover:*) words='png jpeg tiff gif bmp' ;;
    *:set:-*) words="-t --tag --from $edits" ;;
    *:clear:-*) words="-t --tag $edits" ;;
    *:cover:-*) words="--replace --type --clear --extract $edits" ;;
    *:copy:-*) words="-t --tag --replace $edits" ;;
    *:show:-*) words="-t --tag --all $files" ;;
    *) compopt -o default ;;
  esac
  COMPREPLY=($(compgen -W "$words" -- "$word"))
}
complete -F _tagwriter tagwriter
