#!/usr/bin/env bash
# Makes the media corpus the reliability tests run through the service: the
# kinds of files editors meet in the wild, and broken ones. Everything is made
# here with the ffmpeg tool; nothing binary lives in the repository.
#   scripts/make-media-corpus.sh FOLDER
# Files already in FOLDER are kept, so a second run costs nothing.
set -euo pipefail
out=${1:?usage: make-media-corpus.sh FOLDER}
mkdir -p "$out"
cd "$out"

ff() { ffmpeg -hide_banner -loglevel error -y "$@"; }
font=/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf
# 2 s of pictures that each show their own number, and a tone beside them.
counter="testsrc2=size=320x240:rate=25:duration=2,drawtext=fontfile=$font:text=%{n}:fontsize=100:fontcolor=white:box=1:boxcolor=black:x=10:y=70"
tone="sine=frequency=440:sample_rate=48000:duration=2"

make() {
    local name=$1
    shift
    if [ ! -s "$name" ]; then
        ff "$@" "$name.part.${name##*.}" && mv "$name.part.${name##*.}" "$name"
    fi
}

make source.mp4 -f lavfi -i "$counter" -f lavfi -i "$tone" -c:v libx264 -preset veryfast -g 25 \
    -bf 2 -pix_fmt yuv420p -c:a aac -shortest
make mpeg2_program.mpg -i source.mp4 -c:v mpeg2video -q:v 4 -g 12 -bf 2 -c:a mp2 -f mpeg
make mpeg_transport.ts -i source.mp4 -c copy -f mpegts
# Two fields per picture, each from its own moment.
make interlaced_mpeg2.mpg -f lavfi -i "${counter/rate=25/rate=50}" -f lavfi -i "$tone" -vf interlace \
    -c:v mpeg2video -q:v 4 -flags +ilme+ildct -top 1 -c:a mp2 -f mpeg -shortest
make variable_rate.mkv -i source.mp4 -vf "select='lt(mod(n\,5)\,3)'" -fps_mode vfr \
    -c:v libx264 -preset veryfast -c:a copy
make h264_10bit.mp4 -i source.mp4 -c:v libx264 -preset veryfast -pix_fmt yuv420p10le -c:a copy
make hevc.mp4 -i source.mp4 -c:v libx265 -preset ultrafast -x265-params log-level=error \
    -tag:v hvc1 -c:a copy
make vp9_opus.webm -i source.mp4 -c:v libvpx-vp9 -deadline realtime -cpu-used 8 -b:v 500k \
    -c:a libopus
make prores.mov -i source.mp4 -c:v prores_ks -profile:v 0 -c:a pcm_s16le
make mjpeg.avi -i source.mp4 -c:v mjpeg -q:v 3 -pix_fmt yuvj420p -c:a pcm_s16le
# A rotation tag survives only a stream copy.
for degrees in 90 180 270; do
    make "rotate_$degrees.mp4" -i source.mp4 -c copy -metadata:s:v rotate=$degrees
done
make audio.mp3 -f lavfi -i "$tone" -c:a libmp3lame -b:a 128k
make audio.flac -f lavfi -i "$tone" -c:a flac
make audio.opus -f lavfi -i "$tone" -c:a libopus
make mono.wav -f lavfi -i "$tone" -ac 1 -c:a pcm_s16le
make surround.wav -f lavfi -i "$tone" -af "pan=5.1|c0=c0|c1=c0|c2=c0|c3=c0|c4=c0|c5=c0" \
    -c:a pcm_s16le
make two_audio.mkv -i source.mp4 -f lavfi -i "sine=frequency=300:sample_rate=44100:duration=2" \
    -map 0:v -map 1:a -map 0:a -c:v copy -c:a aac -shortest
make still.png -f lavfi -i "testsrc2=size=320x240" -frames:v 1
make still.jpg -f lavfi -i "testsrc2=size=320x240" -frames:v 1
make animated.gif -f lavfi -i "testsrc2=size=160x120:rate=10:duration=2"
# Broken files: cut in half (index first, so a part is readable), empty,
# random bytes and text, each under a name that promises a movie.
if [ ! -s truncated.mp4 ]; then
    ff -i source.mp4 -c copy -movflags +faststart faststart.mp4
    head -c "$(($(stat -c %s faststart.mp4) / 2))" faststart.mp4 > truncated.mp4
    rm -f faststart.mp4
fi
: > zero_bytes.mp4
[ -s random_bytes.mp4 ] || head -c 200000 /dev/urandom > random_bytes.mp4
[ -s text.mov ] || printf 'This is not a movie.\n%.0s' $(seq 1 100) > text.mov
