# Completion of vask for bash.

# The options of the detector.
_vask_listening="--detector --model --probability --gain --preset --profile --pad-start --pad-end --min-speech --max-segment --pause --min-voiced --max-tones
  --threshold"
# Those of recordings that are read.
_vask_reading="--channels --raw --rate --raw-channels --encoding"
# The subcommands and, for each, its options.
declare -gA _vask_options=(
  [detect]="--output --files-from --null --format --verbose --flac --audio --resume --overwrite --no-wait --jobs --meter --join --recursive --summary $_vask_reading $_vask_listening"
  [trim]="--output --keep --join $_vask_reading $_vask_listening"
  [report]="--output --title --no-audio $_vask_reading $_vask_listening"
  [denoise]="--output --for --limit --mix --model $_vask_reading"
  [packets]="--output --size --bare --detector --model $_vask_reading"
  [unpack]="--output"
  [env]="--json $_vask_reading"
  [mfcc]="--output --deltas --log-energies --csv --kb $_vask_reading"
  [score]="--uem --collar --delivered --json"
  [tune]="--output --detector --jobs"
  [batch]="--manifest --recordings --root --allow-commands --shard --records --output --resume --format --delivered --unordered --time --max-failures --clips --shard-size --join --jobs --audio $_vask_reading $_vask_listening"
  [tables]=""
  [selftest]="--quiet --list"
)

_vask() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} subcommand="" i
  # "--format=csv" arrives as three words.
  if [[ $word == "=" ]]; then
    word=""
  elif [[ $before == "=" ]]; then
    before=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  for ((i = 1; i < COMP_CWORD; ++i)); do
    [[ ${COMP_WORDS[i]} && ${_vask_options[${COMP_WORDS[i]}]+known} ]] && subcommand=${COMP_WORDS[i]} && break
  done

  local words="" kind=""
  case $before in
    --format | -f) words=$("${COMP_WORDS[0]}" "${subcommand:-detect}" --help 2> /dev/null | sed -n '/--format/s/.*{\(.*\)}.*/\1/p' | tr , ' ') ;;
    --audio) words="clean listening raw original" ;;
    --channels) words="mix each" ;;
    --encoding) words="s16 s24 f32 mulaw alaw" ;;
    --detector) words="learned energy" ;;
    --for) words="listening recognition" ;;
    --gain) words="auto" ;;
    --preset) words="robust" ;;
    --device) words="general" ;;
    --cpu) words="plain portable avx2 neon" ;;
    --profile) words="general" kind=file ;;
    --output | -o) [[ $subcommand == detect ]] && kind=directory || kind=file ;;
    --config | --kb) kind=directory ;;
    --files-from | --model | --uem | --recordings | --records) kind=file ;;
    --root | --clips) kind=directory ;;
    --manifest) words="auto jsonl csv scp segments paths" ;;
    --device | --os | --size | --title | --jobs | -j | --pad-* | --min-* | --max-* | --pause | --join | --keep | --threshold | --probability | --limit | --collar | --mix | --rate | --raw-channels | --shard | --shard-size | --max-failures) return ;;
    *)
      if [[ $word == -* ]]; then
        words="--help --device --os --config --cpu ${_vask_options[${subcommand:-tables}]}"
        [[ $subcommand ]] || words+=" --version"
      elif [[ ! $subcommand ]]; then
        words="${!_vask_options[*]}"
      elif [[ $subcommand == tables ]]; then
        kind=directory
      elif [[ $subcommand == selftest ]]; then
        :
      else
        kind=file
      fi
      ;;
  esac

  local names=()
  [[ $words ]] && mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word") || COMPREPLY=()
  [[ $kind ]] && compopt -o filenames 2> /dev/null
  [[ $kind == file ]] && mapfile -t names < <(compgen -f -- "$word")
  [[ $kind == directory ]] && mapfile -t names < <(compgen -d -- "$word")
  COMPREPLY+=("${names[@]}")
}
complete -F _vask vask
