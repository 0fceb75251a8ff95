#include "support/random_editor.h"

namespace testsupport {

std::pair<uint16_t, std::string> RandomEditor::next() {
    int choice = pick(100);
    std::string actions;
    if (choice < 6) {
        for (int i = pick(4); i > 0; --i) {
            actions += (actions.empty() ? "" : ",") + edit();
        }
    } else if (choice < 12) {
        actions = action(pickOf({"UNDO_LAST_ACTION", "REDO_LAST_ACTION", "UNDO_LAST_ACTION",
                                 "REDO_LAST_ACTION", "SAVE_PROJECT", "LOAD_PROJECT"}),
                         R"({"FileName":")" + directory_ + "/soak" + num(3) + R"(.xml"})");
    } else if (choice == 12 && pick(4) == 0) {
        actions = action("CLEAR_PROJECT", "{}");
    } else if (choice < 16) {
        return {kControlMessage, wrap(action(pickOf({"PRE_SEEK", "PRE_PAUSE", "PRE_NEXT_FRAME",
                                                     "PRE_FASTORBACK", "PRE_VOLUME"}),
                                             R"({"Position":5,"Speed":2.0,"Volume":"0.5"})"))};
    } else if (choice < 19) {
        actions = action(
            pickOf({"PRE_GETTOTALFRAME", "PRE_GETFPS", "PRE_GETCURRENTPOS", "GET_MLT_FILE"}), "{}");
    } else {
        actions = edit();
    }
    return {kCommandMessage, wrap(actions)};
}

std::string RandomEditor::track() {
    return pickOf({"Track0", "Track1", "AudioTrack0", "AudioTrack1", "maintractor", "nope"});
}

std::string RandomEditor::action(const std::string& name, const std::string& content) {
    return R"({"Command":")" + name + R"(","Content":)" + content + "}";
}

std::string RandomEditor::wrap(const std::string& actions) {
    return R"({"ID":"s","Action":[)" + actions + "]}";
}

std::string RandomEditor::edit() {
    std::string t = "\"" + track() + "\"";
    std::string clip = "\"c" + num(40) + "\"";
    switch (pick(13)) {
        case 0:
            return action("ADD_TRACK",
                          R"({"ID":)" + t + R"(,"Type":")" +
                              pickOf({"composite", "video_only", "audio", "audio_only", "text"}) +
                              R"(","Main":)" + (t == "\"Track0\"" ? "true" : "false") + "}");
        case 1:
        case 2:
            return action(pick(3) ? "ADD_CLIP" : "ADD_COMPOSE_CLIP",
                          R"({"TrackID":)" + t + R"(,"ID":)" + clip +
                              R"(,"MltService":"avformat","Resource":"media/x.mp4","In":"0",)"
                              R"("Out":")" +
                              num(200) + R"(","Index":)" + num(6, -1) + R"(,"BlankLength":")" +
                              num(30) + R"(","RepeatHead":")" + num(3) +
                              R"(","SubClips":[{"Name":"t1","Resource":"x","Profile":)"
                              R"({"Width":64,"Height":36,"FrameRate":25.0}}]})");
        case 3:
            return action(pick(2) ? "ALTER_CLIP" : "ALTER_COMPOSE_CLIP",
                          R"({"TrackID":)" + t + R"(,"ID":)" + clip +
                              R"(,"MltService":"avformat","Resource":"media/other.mp4",)"
                              R"("In":"5","Out":")" +
                              num(200) + R"(","IndexOld":)" + num(4, -1) + R"(,"IndexNew":)" +
                              num(4, -1) + "}");
        case 4:
            return action("DELETE_CLIP", R"({"TrackID":)" + t + R"(,"ClipID":)" + clip +
                                             R"(,"Index":)" + num(4, -1) + "}");
        case 5:
            return action(pick(2) ? "DELETE_ALL_CLIP" : "DELETE_TRACK", R"({"TrackID":)" + t + "}");
        case 6:
            return action(pick(3) ? "ADD_TRANSITION" : "ALTER_TRANSITION",
                          R"({"ID":"x)" + num(10) + R"(","Title":")" +
                              pickOf({"dissolve", "wipe_left_to_right", "unknown"}) +
                              R"(","TrackID_A":)" + t + R"(,"TrackID_B":")" + track() +
                              R"(","Index_A":)" + num(3) + R"(,"Index_B":)" + num(3) +
                              R"(,"In":"5","Out":"5"})");
        case 7:
            return action("DELETE_TRANSITION",
                          R"({"TransitionID":"x)" + num(10) + R"(","TrackType":0})");
        case 8:
            return action(pick(3) ? "ADD_FILTER" : "ALTER_FILTER",
                          R"({"ID":"f)" + num(10) + R"(","FilterID":"f)" + num(10) +
                              R"(","Title":")" + pickOf({"sepia", "brightness", "volume", "nope"}) +
                              R"(","TrackID":)" + t + R"(,"Index":)" + num(3, -1) +
                              R"(,"In":"1","Out":"50","Property":{"level":"0.5"}})");
        case 9:
            return action("DELETE_FILTER", R"({"TrackID":)" + t + R"(,"FilterID":"f)" + num(10) +
                                               R"(","Index":)" + num(3, -1) + "}");
        case 10:
            return action(pick(2) ? "ADD_MULTI_FILTER" : "ALTER_MULTI_FILTER",
                          R"({"ID":"m)" + num(5) + R"(","Title":")" +
                              pickOf({"fade_in_out", "old_film", "nope"}) + R"(","TrackID":)" + t +
                              R"(,"Index":)" + num(3, -1) + "}");
        default:
            return action("ALTER_TRACK", R"({"TrackID":)" + t + "}");
    }
}

}  // namespace testsupport
