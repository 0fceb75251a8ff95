// Engine property names the player sets on its preview consumers.
#pragma once

namespace playernames {

constexpr char kScrubAudio[] = "scrub_audio";
constexpr char kSlowOnPause[] = "slow_on_pause";
constexpr char kVolume[] = "volume";
constexpr char kAudioOff[] = "audio_off";
constexpr char kWindowId[] = "window_id";
constexpr char kDisplayAspectNum[] = "display_aspect_num";
constexpr char kDisplayAspectDen[] = "display_aspect_den";
constexpr char kWindowWidth[] = "window_width";
constexpr char kWindowHeight[] = "window_height";
constexpr char kPreviewService[] = "sdl2";
constexpr char kTimelineProducer[] = "xml";

}  // namespace playernames
