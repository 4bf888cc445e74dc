# For the scripts beside this one. start_screen FOLDER: starts a virtual X screen, whose files are in FOLDER, and waits until it is
# ready; its process and display number are in $screen_process and $screen_number. LUMOKIT_SCREEN sets its size and depth.
start_screen() {
    mkdir -p "$1"
    mkfifo "$1/display"
    # The server chooses a free display and tells it when it is ready. No client of another user can reach it.
    Xvfb -displayfd 3 -screen 0 "${LUMOKIT_SCREEN:-1280x1024x24}" -nolisten tcp -noreset 3>"$1/display" >"$1/xvfb.log" 2>&1 &
    screen_process=$!
    read -r -t 30 screen_number <"$1/display" || { cat "$1/xvfb.log" >&2; echo "${0##*/}: no virtual screen" >&2; return 1; }
}
