// Model test helpers: a small effect catalogue loaded once, XML elements as
// text, JSON from text. Header-only, so qv_test_support needs neither libxml2
// nor the model.
#pragma once

#include <gtest/gtest.h>
#include <libxml/tree.h>

#include <fstream>
#include <functional>
#include <memory>
#include <string>

#include "messages/parse_json.h"
#include "support/test_media.h"
#include "timeline/effect_catalogue.h"
#include "timeline/xml_file.h"

namespace modeltest {

inline void writeTextFile(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

// Catalogue entries the tests name; the "t_" prefix avoids the shipped ones.
inline const std::string& loadTestCatalogue() {
    static const std::string folder = [] {
        std::string directory = testsupport::makeTempDirectory("qv-model-catalogue");
        writeTextFile(directory + "/Effect.xml", R"(<effects>
  <effect name="t_bright" type="filter">
    <property name="mlt_service">brightness</property>
    <property name="level">1.0</property>
  </effect>
  <effect name="webvfxfilter" type="filter"><property name="mlt_service">greyscale</property></effect>
  <effect name="t_dissolve" type="transition">
    <property name="mlt_service">luma</property>
    <property name="a_track">0</property><property name="b_track">1</property>
  </effect>
  <effect name="t_reversed" type="transition">
    <property name="mlt_service">luma</property>
    <property name="a_track">1</property><property name="b_track">0</property>
  </effect>
  <effect name="t_trackless"><property name="mlt_service">mix</property></effect>
</effects>)");
        writeTextFile(directory + "/MultiEffect.xml", R"(<effects>
  <effect name="t_multi" type="Multifilter"><property name="cmdfile">t_multi.json</property></effect>
</effects>)");
        writeTextFile(directory + "/t_multi.json", R"({"ID":"t_multi","Action":[
  {"Command":"ADD_FILTER","Content":{"ID":"one","Title":"t_bright","Property":{"level":"0.5"}}},
  {"Command":"ADD_FILTER","Content":{"ID":"two","Title":"t_bright"}}]})");
        MeEffectCatalogue::instance().loadCatalogues(directory + "/Effect.xml",
                                                     directory + "/MultiEffect.xml");
        return directory;
    }();
    return folder;
}

inline CParseJson json(const std::string& text) {
    CParseJson parsed;
    EXPECT_TRUE(parsed.parse(text)) << text;
    return parsed;
}

// What write appends under a scratch root, as indented XML text.
inline std::string xmlOf(const std::function<void(xmlNodePtr)>& write) {
    XmlDocument document = newXmlDocument("scratch");
    xmlNodePtr root = xmlDocGetRootElement(document.get());
    write(root);
    std::string text;
    for (xmlNodePtr child = root->children; child != nullptr; child = child->next) {
        std::unique_ptr<xmlBuffer, void (*)(xmlBufferPtr)> buffer(xmlBufferCreate(), xmlBufferFree);
        xmlNodeDump(buffer.get(), document.get(), child, 0, 1);
        text += reinterpret_cast<const char*>(xmlBufferContent(buffer.get()));
        text += "\n";
    }
    return text;
}

// Writes an object's project-file element, reads it into a fresh object and
// writes that again: the two texts must match.
template <typename Object>
void expectProjectElementRoundTrip(const Object& object) {
    std::string written = xmlOf([&](xmlNodePtr root) { object.writeXml(root); });
    XmlDocument document(
        xmlReadMemory(written.data(), static_cast<int>(written.size()), nullptr, nullptr, 0));
    ASSERT_TRUE(document) << written;
    Object again;
    again.readXml(xmlDocGetRootElement(document.get()));
    EXPECT_EQ(written, xmlOf([&](xmlNodePtr root) { again.writeXml(root); }));
}

}  // namespace modeltest
