#include "player_timeline.h"

#include <cstdlib>
#include <fstream>

#include "support/display_xvfb.h"
#include "support/test_media.h"

namespace playertest {

std::string writeTimeline(const std::string& path, const std::vector<TimelineClip>& clips) {
    std::ofstream xml(path);
    xml << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<mlt>\n";
    for (const TimelineClip& clip : clips) {
        xml << "  <producer id=\"" << clip.id << "_p\">\n"
            << "    <property name=\"resource\">" << clip.resource << "</property>\n"
            << "    <property name=\"mlt_service\">avformat</property>\n"
            << "  </producer>\n";
    }
    int start = 0;
    for (const TimelineClip& clip : clips) {
        xml << "  <playlist id=\"" << clip.id << "\">\n";
        if (start > 0) {
            xml << "    <blank length=\"" << start << "\"/>\n";
        }
        xml << "    <entry producer=\"" << clip.id << "_p\" in=\"" << clip.in << "\" out=\""
            << clip.out << "\"/>\n"
            << "  </playlist>\n";
        start += clip.out - clip.in + 1;
    }
    xml << "  <tractor id=\"Track0\">\n";
    for (const TimelineClip& clip : clips) {
        xml << "    <track producer=\"" << clip.id << "\"/>\n";
    }
    xml << "  </tractor>\n"
        << "  <tractor id=\"maintractor\">\n"
        << "    <track producer=\"Track0\"/>\n"
        << "  </tractor>\n"
        << "  <tractor id=\"interface_tractor\" global_feed=\"1\">\n"
        << "    <track producer=\"maintractor\"/>\n"
        << "  </tractor>\n"
        << "</mlt>\n";
    return path;
}

std::string solidColourClip(const std::string& colour) {
    return testsupport::makeMedia(
        "player_" + colour + ".mp4",
        "-f lavfi -i color=c=" + colour +
            ":s=320x240:r=25:d=2 -f lavfi -i sine=frequency=440:sample_rate=48000:duration=2 "
            "-c:v libx264 -pix_fmt yuv420p -c:a aac -shortest");
}

std::string addClipContent(const std::string& id, const std::string& resource, int in, int out) {
    return "{\"TrackID\":\"Track0\",\"MltService\":\"avformat\",\"Resource\":\"" + resource +
           "\",\"In\":\"" + std::to_string(in) + "\",\"Out\":\"" + std::to_string(out) +
           "\",\"ID\":\"" + id + "\",\"Index\":-1}";
}

void preparePreviewEnvironment() {
    setenv("SDL_AUDIODRIVER", "dummy", 0);
    testsupport::ensureDisplay();
}

}  // namespace playertest

double PlayerTestAccess::consumerDouble(const MePlayer& player, const char* name) {
    mlt_consumer consumer = transport(player);
    return consumer ? mlt_properties_get_double(MLT_CONSUMER_PROPERTIES(consumer), name) : -1.0;
}

int PlayerTestAccess::consumerInt(const MePlayer& player, const char* name) {
    mlt_consumer consumer = transport(player);
    return consumer ? mlt_properties_get_int(MLT_CONSUMER_PROPERTIES(consumer), name) : -1;
}
