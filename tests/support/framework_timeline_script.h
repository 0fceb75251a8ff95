// A multi-track timeline built with editing commands, shared by the
// framework's unit tests (which feed it to the command processor directly)
// and its end-to-end tests (which send it over the socket). Header-only.
//
// Layout: the main video track "Track0" with two clips joined by a dissolve
// (the second clip with frozen head and tail frames), a filter and a
// multi-filter on its placements; "Track1" with a compose clip and a track
// filter; two audio tracks "AudioTrack0" and "AudioTrack1"; transitions
// between tracks; a filter on the whole timeline ("maintractor").
#pragma once

#include <string>
#include <vector>

namespace frameworktest {

struct ScriptStep {
    std::string command;
    std::string content;
    // The answer's "ReturnResultString" as compact text. Without a running
    // preview every live edit of the engine graph fails, so the commands that
    // answer the player's step answer false.
    std::string answer;
};

// video: a video file with sound; audio: a sound file; folder: where the
// multi-filter writes its scratch document.
inline std::vector<ScriptStep> timelineScript(const std::string& video, const std::string& audio,
                                              const std::string& folder) {
    const std::string media = R"(,"MltService":"avformat","Resource":")" + video + "\"";
    const std::string sound = R"(,"MltService":"avformat","Resource":")" + audio + "\"";
    return {
        {"ADD_TRACK", R"({"ID":"Track0","Type":"composite","Main":true})", "true"},
        {"ADD_TRACK", R"({"ID":"Track1","Type":"composite"})", "true"},
        {"ADD_TRACK", R"({"ID":"AudioTrack0","Type":"audio"})", "true"},
        {"ADD_TRACK", R"({"ID":"AudioTrack1","Type":"audio"})", "true"},
        {"ADD_CLIP",
         R"({"ID":"v1","TrackID":"Track0","Index":0,"In":"0","Out":"39","Type":"video",)"
         R"("Length":"100")" +
             media + "}",
         "false"},
        {"ADD_CLIP",
         R"({"ID":"v2","TrackID":"Track0","Index":1,"In":"10","Out":"49","Length":100,)"
         R"("RepeatHead":"5","RepeatTail":"8")" +
             media + "}",
         "false"},
        {"ADD_TRANSITION",
         R"({"ID":"cut1","Title":"dissolve","TrackID_A":"Track0","TrackID_B":"Track0",)"
         R"("Index_A":0,"Index_B":1,"In":"5","Out":"5"})",
         "false"},
        {"ADD_COMPOSE_CLIP",
         R"({"ID":"cc1","TrackID":"Track1","Index":-1,"In":"0","Out":"29","BlankLength":"10",)"
         R"("SubClips":[{"Name":"title1","Resource":"title.png","In":"0","Out":"29",)"
         R"("Start":"0","End":"29","Type":"image",)"
         R"("Profile":{"Width":320,"Height":240,"FrameRate":25.0}}])" +
             media + "}",
         "false"},
        {"ADD_CLIP",
         R"({"ID":"a1","TrackID":"AudioTrack0","Index":0,"In":"0","Out":"79","Type":"audio")" +
             sound + "}",
         "false"},
        {"ADD_CLIP",
         R"({"ID":"a2","TrackID":"AudioTrack1","Index":0,"In":"0","Out":"49","Type":"audio",)"
         R"("BlankLength":"20")" +
             sound + "}",
         "false"},
        {"ADD_TRANSITION",
         R"({"ID":"pip","Title":"composite","TrackID_A":"Track0","TrackID_B":"Track1",)"
         R"("In":"10","Out":"39"})",
         "false"},
        {"ADD_TRANSITION",
         R"({"ID":"mix","Title":"audio_mix","TrackID_A":"AudioTrack0",)"
         R"("TrackID_B":"AudioTrack1"})",
         "false"},
        {"ADD_FILTER", R"({"ID":"grey","Title":"greyscale","TrackID":"Track1"})", "true"},
        {"ADD_FILTER",
         R"({"ID":"bright","Title":"brightness","TrackID":"Track0","Index":0,"In":"0",)"
         R"("Out":"19","Property":{"level":"1.2"}})",
         "true"},
        {"ADD_FILTER",
         R"({"ID":"loud","Title":"volume","TrackID":"maintractor","Property":{"level":"-3"}})",
         "true"},
        {"ADD_MULTI_FILTER",
         R"({"ID":"fades","Title":"fade_in_out","TrackID":"Track0","Index":1,"Xml":")" + folder +
             R"(/fades.xml"})",
         "true"},
    };
}

// The engine identifiers of the tracks, in the order the main tractor holds them.
inline std::vector<std::string> scriptTrackIds() {
    return {"Track0", "Track1", "AudioTrack0", "AudioTrack1"};
}

}  // namespace frameworktest
