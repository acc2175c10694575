# Completions of tagwriter for fish.

set -l fields title artist album genre composer comment lyrics albumArtist grouping encoder \
    publisher description catalogNumber conductor discSubtitle cueSheet rating compilation year \
    bpm trackNumber totalNumberOfTracks disc totalNumberOfDiscs
set -l assignments $fields=

function __tagwriter_values
    if string match -q '*compilation=*' -- (commandline -ct)
        printf '%s\n' compilation=yes compilation=no
    end
end

set -l command complete -c tagwriter -n __fish_use_subcommand -f
$command -a set -d 'Write fields'
$command -a clear -d 'Clear fields'
$command -a cover -d 'Set the front cover, or remove or extract all pictures'
$command -a copy -d 'Copy fields and the cover to other files'
$command -a show -d 'Print fields and pictures'

complete -c tagwriter -n __fish_use_subcommand -f -l version -d 'Print the version'

set -l any complete -c tagwriter -n '__fish_seen_subcommand_from set clear cover copy show'
$any -s h -l help -d 'Print help'
$any -s r -l recursive -d 'Process the audio files in directories'
$any -l json -d 'Print one JSON object per line'

set -l edit complete -c tagwriter -n '__fish_seen_subcommand_from set clear cover copy'
$edit -l safe -d 'Edit a copy, and replace the file only if everything succeeds'
$edit -l keep-times -d 'Keep the modification time'
$edit -l force -d 'Write into files that are plainly not audio, too'
$edit -l bus -d 'Use the service on the session bus instead of a private one'
$edit -s j -l jobs -x -d 'Edit N files at the same time'
$edit -s n -l dry-run -d 'Print what would be written, without writing anything'
$edit -s q -l quiet -d 'Print only errors'

complete -c tagwriter -n '__fish_seen_subcommand_from set' -s t -l tag -x -a "$assignments (__tagwriter_values)" \
    -d 'A field to write, as KEY=VALUE'
complete -c tagwriter -n '__fish_seen_subcommand_from clear' -s t -l tag -x -a "$fields" \
    -d 'The KEY of a field to clear'
complete -c tagwriter -n '__fish_seen_subcommand_from show' -s t -l tag -x -a "$fields" \
    -d 'The KEY of a field to print'

complete -c tagwriter -n '__fish_seen_subcommand_from copy' -s t -l tag -x -a "$fields" \
    -d 'The KEY of a field to copy'

complete -c tagwriter -n '__fish_seen_subcommand_from set' -l from -r -F \
    -d 'Write fields from JSON'
complete -c tagwriter -n '__fish_seen_subcommand_from show' -l all \
    -d 'Print all tags, too, as TagLib names them'

set -l cover complete -c tagwriter -n '__fish_seen_subcommand_from cover'
complete -c tagwriter -n '__fish_seen_subcommand_from cover copy' -l replace \
    -d 'Replace existing pictures'
$cover -l clear -d 'Remove all pictures'
$cover -l extract -d 'Write the pictures into files'
$cover -l type -x -a 'png jpeg tiff gif bmp' -d 'Format of the cover'
