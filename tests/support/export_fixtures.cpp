#include "support/export_fixtures.h"

#include <json/reader.h>
#include <json/value.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "support/test_media.h"

namespace testsupport {

namespace {

std::string pictureOverlay() {
    return makeMedia("export_overlay_160x120_3s.mp4",
                     "-f lavfi -i color=c=red:size=160x120:rate=25:duration=3 "
                     "-c:v libx264 -preset ultrafast -pix_fmt yuv420p -g 25");
}

long numberOf(const Json::Value& value) {
    return value.isString() ? std::atol(value.asCString()) : value.isInt() ? value.asInt() : 0;
}

double realOf(const Json::Value& value) {
    return value.isString() ? std::atof(value.asCString()) : 0.0;
}

std::string tableEntry(const char* name, const char* producer, bool enable) {
    return std::string("      {\n         \"enable\" : ") + (enable ? "true" : "false") +
           ",\n         \"name\" : \"" + name + "\",\n         \"producer\" : \"" + producer +
           "\"\n      }";
}

}  // namespace

std::string expectedHwAccelTable(bool hwAccelAllowed) {
    return "{\n"
           "   \"hwAccel\" : [\n" +
           tableEntry("hwAccel", "intel", hwAccelAllowed) +
           "\n   ],\n"
           "   \"libx264\" : [\n" +
           tableEntry("h264_qsv", "intel", false) + ",\n" +
           tableEntry("h264_nvenc", "nvidia", false) +
           "\n   ],\n"
           "   \"libx265\" : [\n" +
           tableEntry("hevc_qsv", "intel", false) + ",\n" +
           tableEntry("hevc_nvenc", "nvidia", false) +
           "\n   ],\n"
           "   \"mjpeg\" : [\n" +
           tableEntry("mjpeg_qsv", "intel", false) +
           "\n   ],\n"
           "   \"mpeg2video\" : [\n" +
           tableEntry("mpeg2_qsv", "intel", false) + "\n   ]\n}\n";
}

ExportTimeline writeExportTimeline(const std::string& directory, int frames, int width,
                                   int height) {
    ExportTimeline timeline;
    timeline.path = directory + "/timeline.xml";
    timeline.frames = frames;
    timeline.width = width;
    timeline.height = height;
    int seconds = frames / 25 + 2;
    std::string bars = colourBarsWithTone(seconds, width, height);
    std::string overlay = pictureOverlay();
    std::string tone = toneWav(seconds);
    std::string last = std::to_string(frames - 1);
    int overlayStart = frames / 3;
    int overlayLength = frames / 3;
    std::string overlayOut = std::to_string(overlayLength - 1);

    std::ostringstream xml;
    xml << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
        << "<mlt LC_NUMERIC=\"C\" version=\"7.0.0\">\n"
        << "  <profile description=\"" << width << "x" << height << " 25\" width=\"" << width
        << "\" height=\"" << height
        << "\" progressive=\"1\" sample_aspect_num=\"1\" sample_aspect_den=\"1\" "
           "display_aspect_num=\""
        << width << "\" display_aspect_den=\"" << height
        << "\" frame_rate_num=\"25\" frame_rate_den=\"1\" colorspace=\"601\"/>\n"
        << "  <producer id=\"bars\"><property name=\"resource\">" << bars
        << "</property></producer>\n"
        << "  <producer id=\"overlay\"><property name=\"resource\">" << overlay
        << "</property></producer>\n"
        << "  <producer id=\"tone\"><property name=\"resource\">" << tone
        << "</property></producer>\n"
        << "  <playlist id=\"barsClip\"><entry producer=\"bars\" in=\"0\" out=\"" << last
        << "\"/></playlist>\n"
        << "  <playlist id=\"overlayClip\"><blank length=\"" << overlayStart
        << "\"/><entry producer=\"overlay\" in=\"0\" out=\"" << overlayOut << "\"/></playlist>\n"
        << "  <playlist id=\"toneClip\"><entry producer=\"tone\" in=\"0\" out=\"" << last
        << "\"/></playlist>\n"
        << "  <tractor id=\"Track0\"><track producer=\"barsClip\"/></tractor>\n"
        << "  <tractor id=\"Track1\"><track producer=\"overlayClip\"/></tractor>\n"
        << "  <tractor id=\"AudioTrack0\"><track producer=\"toneClip\"/></tractor>\n"
        << "  <tractor id=\"maintractor\" in=\"0\" out=\"" << last << "\">\n"
        << "    <track producer=\"Track0\"/>\n"
        << "    <track producer=\"Track1\"/>\n"
        << "    <track producer=\"AudioTrack0\" hide=\"video\"/>\n"
        << "    <transition id=\"picture\"><property name=\"mlt_service\">composite</property>"
           "<property name=\"a_track\">0</property><property name=\"b_track\">1</property>"
           "<property name=\"geometry\">50%/50%:50%x50%</property></transition>\n"
        << "    <transition id=\"sound\"><property name=\"mlt_service\">mix</property>"
           "<property name=\"a_track\">0</property><property name=\"b_track\">2</property>"
           "<property name=\"always_active\">1</property><property name=\"sum\">1</property>"
           "</transition>\n"
        << "  </tractor>\n"
        << "</mlt>\n";
    std::ofstream(timeline.path) << xml.str();
    return timeline;
}

const ProbedStream* ProbedFile::stream(const std::string& codecType) const {
    for (const ProbedStream& candidate : streams) {
        if (candidate.codecType == codecType) {
            return &candidate;
        }
    }
    return nullptr;
}

ProbedFile probeFile(const std::string& path) {
    ProbedFile file;
    std::string output;
    int status = runCommand(
        "ffprobe -v error -count_frames -of json -show_entries "
        "format=duration:stream=codec_type,codec_name,width,height,r_frame_rate,bit_rate,"
        "sample_rate,channels,nb_read_frames,duration '" +
            path + "' 2>/dev/null",
        &output);
    Json::Value root;
    Json::CharReaderBuilder builder;
    std::istringstream text(output);
    std::string errors;
    if (status != 0 || !Json::parseFromStream(builder, text, &root, &errors)) {
        return file;
    }
    file.readable = true;
    file.duration = realOf(root["format"]["duration"]);
    for (const Json::Value& entry : root["streams"]) {
        ProbedStream stream;
        stream.codecType = entry["codec_type"].asString();
        stream.codecName = entry["codec_name"].asString();
        stream.width = static_cast<int>(numberOf(entry["width"]));
        stream.height = static_cast<int>(numberOf(entry["height"]));
        stream.frameRate = entry["r_frame_rate"].asString();
        stream.bitRate = numberOf(entry["bit_rate"]);
        stream.sampleRate = static_cast<int>(numberOf(entry["sample_rate"]));
        stream.channels = static_cast<int>(numberOf(entry["channels"]));
        stream.decodedFrames = numberOf(entry["nb_read_frames"]);
        stream.duration = realOf(entry["duration"]);
        file.streams.push_back(stream);
    }
    return file;
}

}  // namespace testsupport
