# Completions of pzel-render for bash: options from its own help, the words of options that take one of a few, files.
_pzel_render() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} words=
  case $before in
    --channel) words="all red green blue y u v intensity saturation hue hsi" ;;
    --levels) words="data full file" ;;
    --curve) words="linear log asinh sqrt" ;;
    --colormap) words="hot cubehelix viridis inferno hue" ;;
    --layout) words="planar interleaved" ;;
    --field) words="even odd" ;;
    --order) words="auto position instance name given" ;;
    --flip) words="horizontal vertical" ;;
    --turn) words="90 180 270" ;;
    --format) words="png jpeg tiff" ;;
    --depth) words="8 16" ;;
  esac
  [[ -z $words && $word == -* ]] && words=$("${COMP_WORDS[0]}" --help 2>/dev/null | grep -oE -- '--[a-z][a-z-]+' | sort -u)
  if [[ -n $words ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
    compopt -o filenames
  fi
}
complete -F _pzel_render pzel-render
