#include <gtest/gtest.h>

#include "support/model_fixtures.h"
#include "timeline/effect_catalogue.h"

using modeltest::writeTextFile;

namespace {

MeEffectCatalogue& catalogue() {
    return MeEffectCatalogue::instance();
}

class EffectCatalogueFiles : public ::testing::Test {
  protected:
    std::string write(const std::string& name, const std::string& text) {
        std::string path = folder_ + "/" + name;
        writeTextFile(path, text);
        return path;
    }
    std::string folder_ = testsupport::makeTempDirectory("qv-catalogue");
};

TEST_F(EffectCatalogueFiles, IgnoresFilesWithAnotherRootOrNoXml) {
    catalogue().loadEffects(write("a.xml", R"(<filters><e name="c_wrongroot"/></filters>)"));
    catalogue().loadEffects(write("b.xml", "not xml at all"));
    catalogue().loadEffects(folder_ + "/missing.xml");
    EXPECT_EQ(catalogue().findEffect("c_wrongroot"), nullptr);
}

TEST_F(EffectCatalogueFiles, ReadsPropertiesFromAnyChildWithAName) {
    catalogue().loadEffects(write("e.xml", R"(<effects>
      <!-- comment -->
      <whatever name="c_props" type="filter">
        <property name="mlt_service">sepia</property>
        <anything name="u">75</anything>
        <property>no name</property>
        <property name="u">second value loses</property>
        <property name="empty"></property>
      </whatever>
      <effect name="c_other" type="Filter"/>
    </effects>)"));
    const MeEffect* effect = catalogue().findEffect("c_props");
    ASSERT_NE(effect, nullptr);
    EXPECT_EQ(effect->type(), MeEffect::kFilterType);
    const std::map<std::string, std::string> expected = {
        {"empty", ""}, {"mlt_service", "sepia"}, {"u", "75"}};
    EXPECT_EQ(effect->properties(), expected);
    ASSERT_NE(catalogue().findEffect("c_other"), nullptr);
    EXPECT_EQ(catalogue().findEffect("c_other")->type(), MeEffect::kOtherType);
    EXPECT_EQ(catalogue().findEffect("C_OTHER"), nullptr);
}

TEST_F(EffectCatalogueFiles, KeepsTheFirstEntryOfARepeatedName) {
    catalogue().loadEffects(write("d.xml", R"(<effects>
      <effect name="c_dup"><property name="level">1</property></effect>
      <effect name="c_dup"><property name="level">2</property></effect>
    </effects>)"));
    catalogue().loadEffects(write("d2.xml", R"(<effects>
      <effect name="c_dup"><property name="level">3</property></effect></effects>)"));
    EXPECT_EQ(catalogue().findEffect("c_dup")->properties().at("level"), "1");
}

TEST_F(EffectCatalogueFiles, MultiEffectWithoutUsableCommandFileHasNoCommands) {
    write("bad.json", "{ not json");
    write("good.json", R"({"ID":"g","Action":[{"Command":"ADD_FILTER","Content":{"ID":"x"}}]})");
    catalogue().loadCatalogues(folder_ + "/none.xml", write("m.xml", R"(<effects>
      <effect name="c_missing" type="Multifilter"><property name="cmdfile">nothing.json</property></effect>
      <effect name="c_bad"><property name="cmdfile">bad.json</property></effect>
      <effect name="c_good" type="Multifilter"><property name="cmdfile">good.json</property></effect>
    </effects>)"));
    for (const char* name : {"c_missing", "c_bad"}) {
        const MeMultiEffect* effect = catalogue().findMultiEffect(name);
        ASSERT_NE(effect, nullptr) << name;
        EXPECT_TRUE(effect->commands.commands().empty()) << name;
    }
    EXPECT_EQ(catalogue().findMultiEffect("c_bad")->type, MeMultiEffect::kOtherType);
    const MeMultiEffect* good = catalogue().findMultiEffect("c_good");
    ASSERT_NE(good, nullptr);
    EXPECT_EQ(good->type, MeMultiEffect::kMultiFilterType);
    ASSERT_EQ(good->commands.commands().size(), 1u);
    EXPECT_EQ(good->commands.commands()[0]->getContentId(), "x");
}

}  // namespace
