#include "support/export_fixtures.h"

#include <json/reader.h>
#include <json/value.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>

#include "support/test_media.h"

namespace testsupport {

namespace {

std::string pictureOverlay() {
    return makeMedia("export_overlay_160x120_3s.mp4",
                     "-f lavfi -i color=c=red:size=160x120:rate=25:duration=3 "
                     "-c:v libx264 -preset ultrafast -pix_fmt yuv420p -g 25");
}

std::string barsWithTone(const std::string& kind, int seconds, int width, int height,
                         const std::string& videoOptions) {
    const std::string size = std::to_string(width) + "x" + std::to_string(height);
    const std::string duration = std::to_string(seconds);
    return makeMedia("bars_" + kind + "_" + size + "_" + duration + "s.mp4",
                     "-f lavfi -i testsrc2=size=" + size + ":rate=25:duration=" + duration +
                         " -f lavfi -i sine=frequency=440:sample_rate=48000:duration=" + duration +
                         " " + videoOptions + " -g 25 -c:a aac -ac 2 -shortest");
}

std::string mediaProducer(const std::string& id, const std::string& source,
                          const std::string& filter) {
    std::string xml = "  <producer id=\"" + id + "\"><property name=\"resource\">" + source +
                      "</property><property name=\"mlt_service\">avformat</property>";
    if (!filter.empty()) {
        xml += "<filter id=\"effect\"><property name=\"mlt_service\">" + filter +
               "</property></filter>";
    }
    return xml + "</producer>\n";
}

std::string entry(const std::string& producer, int in, int out, int repeat = 1) {
    return "<entry producer=\"" + producer + "\" in=\"" + std::to_string(in) + "\" out=\"" +
           std::to_string(out) + "\"" +
           (repeat > 1 ? " repeat=\"" + std::to_string(repeat) + "\"" : "") + "/>";
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

std::string interlacedBarsWithTone(int seconds, int width, int height) {
    return barsWithTone("interlaced", seconds, width, height,
                        "-vf setfield=tff -flags +ildct+ilme -c:v libx264 -preset ultrafast "
                        "-x264-params interlaced=1:tff=1 -pix_fmt yuv420p");
}

std::string fullRangeBarsWithTone(int seconds, int width, int height) {
    return barsWithTone("fullrange", seconds, width, height,
                        "-c:v libx264 -preset ultrafast -pix_fmt yuvj420p");
}

std::string writeCutTimeline(const std::string& path, const CutTimeline& timeline) {
    const int half = timeline.frames / 2;
    const int last = timeline.frames - 1;
    const int hold = timeline.transition.empty() ? 0 : timeline.transitionFrames / 2;
    std::ostringstream xml;
    xml << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<mlt LC_NUMERIC=\"C\" version=\"7.12.0\">\n"
        << "  <profile description=\"cut\" width=\"" << timeline.width << "\" height=\""
        << timeline.height << "\" progressive=\"1\" sample_aspect_num=\"1\" "
        << "sample_aspect_den=\"1\" display_aspect_num=\"" << timeline.width
        << "\" display_aspect_den=\"" << timeline.height
        << "\" frame_rate_num=\"25\" frame_rate_den=\"1\" colorspace=\"" << timeline.colorspace
        << "\"/>\n"
        << mediaProducer("producer0", timeline.source, timeline.filter)
        << "  <playlist id=\"clip1\">" << entry("producer0", 0, half - 1)
        << (hold ? entry("producer0", half - 1, half - 1, hold) : "") << "</playlist>\n"
        << mediaProducer("producer1", timeline.source, "")
        << "  <playlist id=\"clip2\"><blank length=\"" << half - hold << "\"/>"
        << (hold ? entry("producer1", half, half, hold) : "") << entry("producer1", half, last)
        << "</playlist>\n"
        << "  <tractor id=\"Track0\" in=\"0\" out=\"" << last
        << "\"><track producer=\"clip1\"/><track producer=\"clip2\"/>";
    if (hold) {
        xml << "<transition id=\"across\" in=\"" << half - hold << "\" out=\"" << half + hold - 1
            << "\"><property name=\"a_track\">0</property><property name=\"b_track\">1</property>"
            << "<property name=\"mlt_service\">" << timeline.transition
            << "</property></transition>";
    }
    xml << "</tractor>\n  <tractor id=\"AudioTrack0\" in=\"0\" out=\"0\"/>\n"
        << "  <tractor id=\"maintractor\" in=\"0\" out=\"" << last
        << "\"><track producer=\"Track0\"/><track producer=\"AudioTrack0\"/></tractor>\n</mlt>\n";
    std::ofstream(path) << xml.str();
    return path;
}

double PicturePsnr::lowest() const {
    return std::min({y, u, v});
}

PicturePsnr picturePsnr(const std::string& first, const std::string& second) {
    std::string output;
    runCommand("ffmpeg -nostdin -hide_banner -i '" + first + "' -i '" + second +
                   "' -lavfi '[0:v][1:v]psnr' -f null - 2>&1",
               &output);
    // "PSNR y:42.4 u:39.8 v:38.5 average:41.0 min:... max:..." ("inf" when identical)
    const std::regex summary(R"(PSNR y:(\S+) u:(\S+) v:(\S+) average)");
    std::smatch parts;
    PicturePsnr psnr;
    if (!std::regex_search(output, parts, summary)) {
        return psnr;
    }
    auto value = [](const std::string& text) {
        return text == "inf" ? kIdenticalPsnr : std::atof(text.c_str());
    };
    psnr.y = value(parts[1]);
    psnr.u = value(parts[2]);
    psnr.v = value(parts[3]);
    return psnr;
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
        "format=duration:stream=codec_type,codec_name,width,height,r_frame_rate,pix_fmt,"
        "sample_fmt,bit_rate,sample_rate,channels,nb_read_frames,duration '" +
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
        stream.pixelFormat = entry["pix_fmt"].asString();
        stream.sampleFormat = entry["sample_fmt"].asString();
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
