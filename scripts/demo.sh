#!/usr/bin/env bash
# The main job: installs what is missing, builds, starts the engine service and
# drives a whole editing session through the command-line client. Everything
# it makes lands in out/demo/.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

bash scripts/install-deps.sh
echo "== build"
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)" --target quillavant-host quillavant-cli qv_configs

out=$root/out/demo
run=$out/run
rm -rf "$out"
mkdir -p "$out/media" "$out/thumbs" "$out/Logs" "$out/cache/Logs" "$run"

cleanup() {
    [ -n "${cli_pid:-}" ] && kill "$cli_pid" 2>/dev/null || true
    [ -n "${host_pid:-}" ] && kill "$host_pid" 2>/dev/null || true
    [ -n "${xvfb_pid:-}" ] && kill "$xvfb_pid" 2>/dev/null || true
}
trap cleanup EXIT

if [ -z "${DISPLAY:-}" ]; then
    display=:$((90 + RANDOM % 100))
    Xvfb "$display" -screen 0 1280x720x24 -nolisten tcp >/dev/null 2>&1 &
    xvfb_pid=$!
    export DISPLAY=$display
    export SDL_AUDIODRIVER=${SDL_AUDIODRIVER:-dummy}
    sleep 1
    echo "== started Xvfb on $DISPLAY"
fi

echo "== making sample media with ffmpeg"
media=$out/media
ff() { ffmpeg -nostdin -y -loglevel error "$@"; }
ff -f lavfi -i "testsrc2=size=640x360:rate=25:duration=6" \
   -f lavfi -i "sine=frequency=440:sample_rate=48000:duration=6" \
   -c:v libx264 -preset veryfast -pix_fmt yuv420p -g 25 -c:a aac -ac 2 -shortest "$media/bars.mp4"
ff -f lavfi -i "mandelbrot=size=640x360:rate=25" -t 6 \
   -c:v libx264 -preset veryfast -pix_fmt yuv420p -g 25 "$media/mandelbrot.mp4"
ff -f lavfi -i "life=size=640x360:rate=25:mold=10:ratio=0.2:death_color=#101040:life_color=#40c0ff" \
   -t 6 -c:v libx264 -preset veryfast -pix_fmt yuv420p -g 25 "$media/life.mp4"
ff -f lavfi -i "smptehdbars=size=320x180:rate=25:duration=4" \
   -c:v libx264 -preset veryfast -pix_fmt yuv420p -g 25 "$media/overlay.mp4"
ff -f lavfi -i "sine=frequency=220:sample_rate=48000:duration=16,volume='0.2+0.8*abs(sin(t*1.3))':eval=frame" \
   -ac 2 -c:a pcm_s16le "$media/music.wav"

pipe=demo$$
echo "== starting quillavant-host $pipe"
# The media cache and the journal keep to the demo folder, so the demo leaves nothing elsewhere.
QUILLAVANT_PIPE_DIR=$run QUILLAVANT_RECOVERY_DIR=$out/recovery \
    QUILLAVANT_CACHE_DIR=${QUILLAVANT_CACHE_DIR:-$out/media-cache} \
    build/bin/quillavant-host "$pipe" 2>"$out/service.log" &
host_pid=$!

# The session goes through one connection: the client reads its requests from
# a pipe that this script feeds, so screenshots can be taken between them.
mkfifo "$run/requests"
QUILLAVANT_PIPE_DIR=$run build/bin/quillavant-cli -p "$pipe" --echo \
    --script "$run/requests" --record "$out/session.recorded" | tee "$out/session.log" &
cli_pid=$!
exec 3>"$run/requests"
send() { printf '%s\n' "$*" >&3; }
clip() {  # clip TRACK ID FILE IN OUT INDEX [BLANK] [TYPE]
    send "command ADD_CLIP {\"TrackID\":\"$1\",\"ID\":\"$2\",\"MltService\":\"avformat\",\"Resource\":\"$3\",\"In\":\"$4\",\"Out\":\"$5\",\"Index\":$6,\"BlankLength\":\"${7:-0}\",\"Type\":\"${8:-composite}\"}"
}
screenshot() { xwd -root -silent | convert xwd:- "$1"; }

send "command PRE_SET_LOGDIRECTORY {\"LogPath\":\"$out\"}"
send "command OPEN_MOVIE {\"Profile\":\"atsc_720p_25\",\"Width\":640,\"Height\":360,\"Display_Aspect_Num\":16,\"Display_Aspect_Den\":9,\"WindowID\":0,\"CachePath\":\"$out/cache\"}"
send "command ADD_TRACK {\"ID\":\"Track0\",\"Type\":\"composite\",\"Main\":true}"
send "command ADD_TRACK {\"ID\":\"Track1\",\"Type\":\"video_only\"}"
send "command ADD_TRACK {\"ID\":\"AudioTrack0\",\"Type\":\"audio\"}"
send "command ADD_TRACK {\"ID\":\"AudioTrack1\",\"Type\":\"audio\"}"
# Before the preview runs, clips enter the project only (the live edit has no graph yet).
clip Track0 bars "$media/bars.mp4" 0 124 -1
clip Track0 mandel "$media/mandelbrot.mp4" 0 124 -1
clip Track0 life "$media/life.mp4" 0 124 -1
clip Track1 pip "$media/overlay.mp4" 0 74 -1 40 video
clip AudioTrack0 music "$media/music.wav" 0 374 -1 0 audio
send "command ADD_TRANSITION {\"ID\":\"dissolve1\",\"Title\":\"dissolve\",\"TrackID_A\":\"Track0\",\"TrackID_B\":\"Track0\",\"Index_A\":0,\"Index_B\":1,\"In\":\"12\",\"Out\":\"12\",\"TrackType\":0}"
send "command ADD_TRANSITION {\"ID\":\"wipe1\",\"Title\":\"wipe_left_to_right\",\"TrackID_A\":\"Track0\",\"TrackID_B\":\"Track0\",\"Index_A\":1,\"Index_B\":2,\"In\":\"12\",\"Out\":\"12\",\"TrackType\":0}"
send "command ADD_TRANSITION {\"ID\":\"pip1\",\"Title\":\"picture_in_picture\",\"TrackID_A\":\"Track0\",\"TrackID_B\":\"Track1\",\"In\":\"40\",\"Out\":\"114\",\"TrackType\":1}"
send "command ADD_FILTER {\"ID\":\"sepia1\",\"Title\":\"sepia\",\"TrackID\":\"Track1\",\"Index\":0}"
send "command ADD_FILTER {\"ID\":\"fadein\",\"Title\":\"fade_in_video\",\"TrackID\":\"maintractor\",\"Index\":-1,\"In\":\"0\",\"Out\":\"24\"}"
send "command ADD_MULTI_FILTER {\"ID\":\"audiofade\",\"Title\":\"audio_fade_in_out\",\"TrackID\":\"AudioTrack0\",\"Index\":-1}"

echo "== playing"
send "control PRE_PLAY {\"AutoPlay\":true,\"Position\":0,\"Width\":640,\"Height\":360}"
sleep 3
send "command PRE_GETTOTALFRAME"
send "command PRE_GETFPS"
send "command PRE_GETTOTALTIME_STR"
send "command PRE_GETCURRENTPOS"
send "control PRE_SEEK_STOP {\"Position\":60}"
send "control PRE_NEXT_FRAME"
send "control PRE_NEXT_FRAME"
send "control PRE_LAST_FRAME"
send "command PRE_GETCURRENTPOS"
sleep 2
screenshot "$out/preview.png"
echo "== live edit while playing"
send "control PRE_CONTINUE"
clip Track0 bars2 "$media/bars.mp4" 25 99 -1
send "command PRE_GETTOTALFRAME"
sleep 2
send "control PRE_SEEK_STOP {\"Position\":200}"
sleep 1
screenshot "$out/preview-after-edit.png"

echo "== project save and load"
send "command SAVE_PROJECT {\"FileName\":\"$out/project.xml\"}"
send "command CLEAR_PROJECT"
send "command LOAD_PROJECT {\"FileName\":\"$out/project.xml\"}"
send "command SAVE_PROJECT {\"FileName\":\"$out/project-reloaded.xml\"}"
send "command UNDO_LAST_ACTION"
send "command REDO_LAST_ACTION"
# Clearing closed the preview: play the reloaded project again, paused.
send "control PRE_PLAY {\"AutoPlay\":false,\"Position\":0,\"Width\":640,\"Height\":360}"

echo "== thumbnails, waveform and media description"
positions=$(seq -s, 0 12 144)
send "control PRE_VIDEO_THUMB {\"FileName\":\"$media/bars.mp4\",\"Position\":[$positions],\"OutDir\":\"$out/thumbs\",\"Profile\":{\"Width\":160,\"Height\":90,\"FrameRate\":25.0}}"
send "control PRE_AUDIO_THUMB {\"FileName\":\"$media/music.wav\",\"OutFile\":\"$out/waveform.txt\"}"
send "control PRE_SNAP_PIC {\"FileName\":\"$media/mandelbrot.mp4\",\"Position\":50,\"OutFile\":\"$out/snapshot.png\"}"
send "command GET_PORPERTY {\"FileName\":\"$media/bars.mp4\",\"FileType\":\"video\"}"

echo "== export"
send "export {\"FileName\":\"$out/export.mp4\",\"QulityLevel\":\"best\",\"Video\":{\"Encoder\":\"libx264\",\"Width\":\"1280\",\"Height\":\"720\",\"FrameRate\":\"25\",\"BitRate\":\"4000\"},\"Audio\":{\"Encoder\":\"aac\",\"Channel\":\"2\",\"SampleRate\":\"48000\",\"BitRate\":\"192\"}}"
send "close"
exec 3>&-
wait "$cli_pid" || true
cli_pid=
wait "$host_pid" || true
host_pid=

echo "== recovery: the session ended with edits after its last save, so its journal stayed"
QUILLAVANT_RECOVERY_DIR=$out/recovery build/bin/quillavant-cli --list-recoverable
build/bin/quillavant-cli --recover "$(ls "$out"/recovery/*.journal)" --save "$out/project-recovered.xml"

echo "== contact sheet"
levels=$out/waveform.txt
if [ -s "$levels" ]; then
    count=$(wc -l <"$levels")
    points=$(awk -v n="$count" '{ printf " %.1f,%.1f", (NR - 1) * 1040 / (n > 1 ? n - 1 : 1), 118 - $1 }' "$levels")
    convert -size 1040x120 xc:'#101018' -stroke '#40c0ff' -fill none -draw "polyline$points" "$out/waveform.png"
fi
montage $(ls -v "$out"/thumbs/*.png) -tile 13x -geometry 80x45+0+0 -background '#101018' "$run/strip.png" 2>/dev/null || true
# The preview window sits in the top left corner of the screen.
convert "$out/preview.png" -crop 640x360+0+0 +repage -resize 1040x "$run/preview-small.png"
convert "$run/preview-small.png" "$run/strip.png" "$out/waveform.png" -background '#101018' -append "$out/contact-sheet.png" 2>/dev/null || true

echo
echo "== done: everything is in $out"
for f in export.mp4 preview.png preview-after-edit.png snapshot.png project.xml waveform.txt waveform.png contact-sheet.png session.recorded service.log; do
    [ -e "$out/$f" ] && printf '  %-24s %s\n' "$f" "$(du -h "$out/$f" | cut -f1)"
done
echo "  thumbs/                  $(ls "$out/thumbs" | wc -l) thumbnails"
ffprobe -v error -show_entries format=duration:stream=codec_name,width,height -of compact "$out/export.mp4" || true
