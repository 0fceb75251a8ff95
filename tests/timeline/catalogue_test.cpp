// Catalogue files are read leniently; the shipped ones name installed MLT services.
#include <framework/mlt.h>
#include <gtest/gtest.h>

#include <set>

#include "support/model_fixtures.h"
#include "timeline/effect_catalogue.h"

namespace {

MeEffectCatalogue& catalogue = MeEffectCatalogue::instance();

std::string write(const std::string& name, const std::string& text) {
    static const std::string folder = testsupport::makeTempDirectory("qv-catalogue");
    modeltest::writeTextFile(folder + "/" + name, text);
    return folder + "/" + name;
}

TEST(EffectCatalogue, ReadsNamedChildrenKeepsFirstOfANameAndSkipsBadFiles) {
    catalogue.loadEffects(write("a.xml", R"(<filters><e name="c_wrongroot"/></filters>)"));
    catalogue.loadEffects(write("b.xml", "not xml at all"));
    catalogue.loadEffects("/nonexistent/missing.xml");
    catalogue.loadEffects(write("e.xml", R"(<effects><!-- comment -->
      <whatever name="c_props" type="filter">
        <property name="mlt_service">sepia</property><anything name="u">75</anything>
        <property>no name</property><property name="u">second value loses</property>
        <property name="empty"></property>
      </whatever>
      <effect name="c_other" type="Filter"/><effect name="c_other" type="filter"/></effects>)"));
    catalogue.loadEffects(write("f.xml", R"(<effects><effect name="c_props"/></effects>)"));
    EXPECT_EQ(catalogue.findEffect("c_wrongroot"), nullptr);
    ASSERT_NE(catalogue.findEffect("c_props"), nullptr);
    EXPECT_EQ(catalogue.findEffect("c_props")->type(), MeEffect::kFilterType);
    EXPECT_EQ(
        catalogue.findEffect("c_props")->properties(),
        (std::map<std::string, std::string>{{"empty", ""}, {"mlt_service", "sepia"}, {"u", "75"}}));
    ASSERT_NE(catalogue.findEffect("c_other"), nullptr);
    EXPECT_EQ(catalogue.findEffect("c_other")->type(), MeEffect::kOtherType);
    // A preset whose command file is not JSON has no commands.
    write("bad.json", "{ not json");
    catalogue.loadMultiEffects(write("m.xml", R"(<effects>
      <effect name="c_bad"><property name="cmdfile">bad.json</property></effect></effects>)"));
    ASSERT_NE(catalogue.findMultiEffect("c_bad"), nullptr);
    EXPECT_TRUE(catalogue.findMultiEffect("c_bad")->commands.commands().empty());
    EXPECT_EQ(catalogue.findMultiEffect("c_bad")->type, MeMultiEffect::kOtherType);
}

std::set<std::string> names(mlt_properties services) {
    std::set<std::string> result;
    for (int i = 0; i < mlt_properties_count(services); ++i) {
        result.insert(mlt_properties_get_name(services, i));
    }
    return result;
}

std::set<std::string> names(const std::string& catalogueFile) {
    std::set<std::string> result;
    XmlDocument document = readXmlFile(catalogueFile, 0);
    xmltree::forEachElement(xmlDocGetRootElement(document.get()), [&](xmlNodePtr entry) {
        std::string name;
        xmltree::readAttribute(entry, "name", name);
        result.insert(name);
    });
    return result;
}

TEST(ShippedCatalogues, EveryEffectNamesAnInstalledMltService) {
    const std::string configs = std::string(QV_SOURCE_DIR) + "/configs";
    catalogue.loadCatalogues(configs + "/Effect.xml", configs + "/MultiEffect.xml");
    mlt_repository repository = mlt_factory_init(nullptr);
    ASSERT_NE(repository, nullptr);
    const std::set<std::string> filters = names(mlt_repository_filters(repository));
    const std::set<std::string> transitions = names(mlt_repository_transitions(repository));
    const std::set<std::string> effects = names(configs + "/Effect.xml");
    ASSERT_GE(effects.size(), 15u);
    for (const std::string& name : effects) {
        const MeEffect* effect = catalogue.findEffect(name);
        ASSERT_NE(effect, nullptr) << name;
        const auto& installed = effect->type() == MeEffect::kFilterType ? filters : transitions;
        EXPECT_EQ(installed.count(effect->properties().at("mlt_service")), 1u) << name;
    }
    // Every command of every preset adds a catalogue filter.
    const std::set<std::string> presets = names(configs + "/MultiEffect.xml");
    for (const std::string& name : presets) {
        ASSERT_NE(catalogue.findMultiEffect(name), nullptr) << name;
        const auto& commands = catalogue.findMultiEffect(name)->commands.commands();
        EXPECT_FALSE(commands.empty()) << name;
        for (const auto& command : commands) {
            std::string title;
            command->getContent().getString("Title", title);
            const MeEffect* effect = catalogue.findEffect(title);
            EXPECT_EQ(command->getCommand(), "ADD_FILTER") << name;
            EXPECT_TRUE(effect && effect->type() == MeEffect::kFilterType) << name << ": " << title;
        }
    }
}

}  // namespace
