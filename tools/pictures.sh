#!/usr/bin/env bash
# Takes the pictures of docs/ again from the running program. Run it after a visible change, look at the
# pictures, and commit them.
set -euo pipefail

# shellcheck source=tools/common.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/common.sh"

pictures="$root/docs/pictures"

# save_picture FROM TO: 256 colours are enough and make the largest file a third as big. Dithering would speckle the
# plain areas; time stamps would change every file.
save_picture() {
    convert "$build_dir/demo/$1.png" -strip +dither -colors 256 -quality 90 -define png:exclude-chunks=date,time \
        "$pictures/$2.png"
}

env -u DISPLAY "$root/run.sh" # on a virtual display, without other windows
mkdir -p "$pictures"
save_picture 2-query query
save_picture 3-duplicates repair
save_picture 4-analysis analysed
save_picture 7-confirm-all confirm-all
save_picture 8-all-repaired "done"
say "saved: $pictures"
