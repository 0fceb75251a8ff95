#include <gtest/gtest.h>

#include "support/model_fixtures.h"
#include "timeline/compose_clip.h"

using modeltest::xmlOf;

namespace {

TEST(MeClipJson, NeedsIdentifierServiceAndResource) {
    struct Case {
        const char* json;
        bool accepted;
        int length;
        const char* type;
    } cases[] = {
        {R"({"ID":"c7","MltService":"avformat","Resource":"a.mp4","Length":"250"})", true, 250,
         "composite"},
        {R"({"ID":"c7","MltService":"avformat","Resource":"a.mp4","Length":250})", true, 250,
         "composite"},
        {R"({"ID":"c7","MltService":"avformat","Resource":"a.mp4","Type":"audio"})", true, 0,
         "audio"},
        {R"({"ID":"c7","MltService":"avformat","Resource":"a.mp4","Length":"x"})", true, 0,
         "composite"},
        {R"({"MltService":"avformat","Resource":"a.mp4"})", false, 0, ""},
        {R"({"ID":"c7","Resource":"a.mp4"})", false, 0, ""},
        {R"({"ID":"c7","MltService":"avformat"})", false, 0, ""},
    };
    for (const auto& c : cases) {
        MeClip clip;
        EXPECT_EQ(clip.initFromJsonText(c.json), c.accepted) << c.json;
        if (c.accepted) {
            EXPECT_EQ(clip.id(), "c7_p");
            EXPECT_EQ(clip.length(), c.length) << c.json;
            EXPECT_EQ(clip.mediaType(), c.type) << c.json;
        }
    }
}

TEST(MeClipMltElement, MediaTypeAndLengthDecideTheProperties) {
    struct Case {
        const char* extra;
        const char* properties;
    } cases[] = {
        {R"("Type":"video","Length":"250")",
         "  <property name=\"length\">250</property>\n"
         "  <property name=\"resource\">a.mp4</property>\n"
         "  <property name=\"mlt_service\">avformat</property>\n"
         "  <property name=\"audio_index\">-1</property>\n"},
        {R"("Type":"audio","Length":-5)",
         "  <property name=\"resource\">a.mp4</property>\n"
         "  <property name=\"mlt_service\">avformat</property>\n"
         "  <property name=\"video_index\">-1</property>\n"},
        {R"("Type":"composite","Length":0)",
         "  <property name=\"resource\">a.mp4</property>\n"
         "  <property name=\"mlt_service\">avformat</property>\n"},
    };
    for (const auto& c : cases) {
        MeClip clip;
        ASSERT_TRUE(clip.initFromJsonText(std::string(R"({"ID":"c","Title":"dropped","In":"1",)") +
                                          R"("MltService":"avformat","Resource":"a.mp4",)" +
                                          c.extra + "}"));
        EXPECT_EQ(xmlOf([&](xmlNodePtr root) { clip.writeMltXml(root); }),
                  std::string("<producer id=\"c_p\">\n") + c.properties + "</producer>\n");
    }
}

const char kComposeJson[] = R"({"ID":"k","MltService":"composer","Resource":"r","SubClips":[
    {"Name":"title1","Resource":"first","Profile":{"Width":640,"Height":360,"FrameRate":25}},
    {"Name":"title1","Resource":"t.png","Type":"image","In":"0","Out":"49","Start":"10",
     "End":"59","Profile":{"Width":1280,"Height":720,"FrameRate":29.97}},
    {"Name":"a"}]})";

TEST(MeComposeClipJson, LaterSubClipOfANameWinsAndBecomesProducerProperties) {
    MeComposeClip clip;
    ASSERT_TRUE(clip.initFromJsonText(kComposeJson));
    ASSERT_EQ(clip.subClips().size(), 2u);
    std::string written = xmlOf([&](xmlNodePtr root) { clip.writeMltXml(root); });
    const std::string expectedTail =
        "  <property name=\"producer.title1.resource\">t.png</property>\n"
        "  <property name=\"producer.title1.type\">image</property>\n"
        "  <property name=\"producer.title1.in\">0</property>\n"
        "  <property name=\"producer.title1.out\">49</property>\n"
        "  <property name=\"producer.title1.start\">10</property>\n"
        "  <property name=\"producer.title1.end\">59</property>\n"
        "  <property name=\"producer.title1.profile.width\">1280</property>\n"
        "  <property name=\"producer.title1.profile.height\">720</property>\n"
        "  <property name=\"producer.title1.profile.fps\">29.970000</property>\n"
        "</producer>\n";
    ASSERT_GT(written.size(), expectedTail.size());
    EXPECT_EQ(written.substr(written.size() - expectedTail.size()), expectedTail);
    EXPECT_NE(written.find("<property name=\"producer.a.profile.fps\">0.000000</property>\n"
                           "  <property name=\"producer.title1.resource\">"),
              std::string::npos);
}

TEST(MeComposeClipProjectFile, SubClipsRoundTripAndEarlierNameWinsOnRead) {
    MeComposeClip clip;
    ASSERT_TRUE(clip.initFromJsonText(kComposeJson));
    modeltest::expectProjectElementRoundTrip(clip);

    MeComposeClip read;
    modeltest::readFirstElement(R"(<ComposeClip><ID>k_p</ID><SubClips>
        <SubClip name="s" fps="25.5" width="8">first</SubClip>
        <SubClip name="s">second</SubClip></SubClips></ComposeClip>)",
                                [&](xmlNodePtr element) { read.readXml(element); });
    EXPECT_EQ(read.id(), "k_p");
    ASSERT_EQ(read.subClips().size(), 1u);
    EXPECT_EQ(read.subClips().at("s").resource, "first");
    EXPECT_EQ(read.subClips().at("s").width, 8);
    EXPECT_DOUBLE_EQ(read.subClips().at("s").fps, 25.5);
}

TEST(MeComposeClipProjectFile, EmptyComposeClipStillWritesSubClips) {
    MeComposeClip clip;
    ASSERT_TRUE(clip.initFromJsonText(R"({"ID":"e","MltService":"m","Resource":"r"})"));
    EXPECT_EQ(xmlOf([&](xmlNodePtr root) { clip.writeXml(root); }),
              "<ComposeClip>\n  <ID>e_p</ID>\n  <MltService>m</MltService>\n"
              "  <Resource>r</Resource>\n  <Type>composite</Type>\n  <SubClips/>\n"
              "</ComposeClip>\n");
    MeClip plain;
    ASSERT_TRUE(plain.initFromJsonText(R"({"ID":"e","MltService":"m","Resource":"r"})"));
    modeltest::expectProjectElementRoundTrip(plain);
}

}  // namespace
