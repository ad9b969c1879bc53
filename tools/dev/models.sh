# shellcheck shell=bash
# The demonstration, and training and judging models.

demo() {
  local image=examples/photo.png out=$BUILD/demo started result
  case ${1:-} in
  '') ;;
  /*) image=$1 ;;
  *) image=$(realpath -m --relative-to="$PWD" -- "$here/$1") ;;
  esac
  [ -f "$image" ] || die "there is no image $image"
  result=$(basename "$image")
  result=$out/${result%.*}-2x.png
  setup
  need_wine
  build mingw-release --target orvane_weights
  mkdir -p "$out"
  say "Upscaling $image on DirectML, on this machine's CPU (the first frame compiles the network)"
  started=$EPOCHREALTIME
  run tools/wine/run-wine "$BIN/orvane.exe" upscale "$image" -o "$result" --force
  say "Upscaled in $(seconds_since "$started")"
  "$PYTHON" -m training.judge.beside "$image" "$result" "${result%.png}-beside-bicubic.png"
  say "Beside bicubic: ${result%.png}-beside-bicubic.png"
}

# Debian's own Python, because Debian's packages belong to it.
PYTHON=/usr/bin/python3

# train NAME [OPTION...]: everything from the images to the figures. Resumes where it was stopped.
train() {
  local name=${1:-} data=$BUILD/training/data results=$BUILD/training/${1:-} images=test
  [ -f "training/configs/$name.json" ] ||
    die "train needs the name of a configuration: $(basename -a -s .json training/configs/*.json | tr '\n' ' ')"
  setup train
  need_wine
  build mingw-release --target orvane_cli
  [ -f "$data/tiles.npz" ] || "$PYTHON" -m training.data.prepare --data "$data"
  [ -f "$data/slides.npz" ] || "$PYTHON" -m training.data.slides --data "$data"
  if grep -q '"video"' "training/configs/$name.json"; then
    [ -f "$data/video.npz" ] || "$PYTHON" -m training.data.prepare_video --data "$data"
    images=test-video
  fi
  "$PYTHON" -m training.model.train "$name" --data "$data" "${@:2}"
  "$PYTHON" -m training.model.export "$name" --data "$data"
  "$PYTHON" -m training.judge.evaluate "$name" "$data/$images" --json "$results/figures.json"
  if [ "$images" = test-video ]; then
    "$PYTHON" -m training.judge.evaluate default "$data/$images" --json "$results/figures-default.json"
  fi
  "$PYTHON" -m training.judge.card "$name" --data "$data"
}

# evaluate MODEL FOLDER [OPTION...]
evaluate() {
  [ $# -ge 2 ] || die "evaluate needs a model (a name in weights, or a file) and a folder of PNG images"
  local model=$1 folder=$2
  [ ! -f "$here/$model" ] || model=$here/$model
  [ -d "$folder" ] && [[ $folder == /* ]] || folder=$here/$folder
  setup train
  need_wine
  build mingw-release --target orvane_cli
  "$PYTHON" -m training.judge.evaluate "$model" "$folder" "${@:3}"
}
