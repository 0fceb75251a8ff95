// The catalogues shipped in configs/ load, and every MLT service they name
// exists in the MLT installed on this machine.
#include <framework/mlt.h>
#include <gtest/gtest.h>

#include <set>

#include "support/model_fixtures.h"
#include "timeline/effect_catalogue.h"

namespace {

std::set<std::string> serviceNames(mlt_properties services) {
    std::set<std::string> names;
    for (int i = 0; i < mlt_properties_count(services); ++i) {
        names.insert(mlt_properties_get_name(services, i));
    }
    return names;
}

std::set<std::string> catalogueNames(const std::string& file) {
    std::set<std::string> names;
    XmlDocument document = readXmlFile(file, 0);
    xmltree::forEachElement(xmlDocGetRootElement(document.get()), [&](xmlNodePtr entry) {
        std::string name;
        xmltree::readAttribute(entry, "name", name);
        names.insert(name);
    });
    return names;
}

TEST(ShippedCatalogues, EveryEffectNamesAnInstalledMltService) {
    const std::string configs = std::string(QV_SOURCE_DIR) + "/configs";
    MeEffectCatalogue::instance().loadCatalogues(configs + "/Effect.xml",
                                                 configs + "/MultiEffect.xml");
    mlt_repository repository = mlt_factory_init(nullptr);
    ASSERT_NE(repository, nullptr);
    const std::set<std::string> filters = serviceNames(mlt_repository_filters(repository));
    const std::set<std::string> transitions = serviceNames(mlt_repository_transitions(repository));

    const std::set<std::string> effects = catalogueNames(configs + "/Effect.xml");
    ASSERT_GE(effects.size(), 15u);
    for (const std::string& name : effects) {
        const MeEffect* effect = MeEffectCatalogue::instance().findEffect(name);
        ASSERT_NE(effect, nullptr) << name;
        const std::string& service = effect->properties().at("mlt_service");
        const auto& installed = effect->type() == MeEffect::kFilterType ? filters : transitions;
        EXPECT_EQ(installed.count(service), 1u) << name << " names " << service;
        if (effect->type() != MeEffect::kFilterType) {
            EXPECT_EQ(effect->properties().count("a_track"), 1u) << name;
            EXPECT_EQ(effect->properties().count("b_track"), 1u) << name;
        }
    }

    // Every command of every preset adds a catalogue filter.
    const std::set<std::string> presets = catalogueNames(configs + "/MultiEffect.xml");
    ASSERT_GE(presets.size(), 2u);
    for (const std::string& name : presets) {
        const MeMultiEffect* preset = MeEffectCatalogue::instance().findMultiEffect(name);
        ASSERT_NE(preset, nullptr) << name;
        ASSERT_FALSE(preset->commands.commands().empty()) << name;
        for (const auto& command : preset->commands.commands()) {
            EXPECT_EQ(command->getCommand(), "ADD_FILTER") << name;
            std::string title;
            command->getContent().getString("Title", title);
            const MeEffect* effect = MeEffectCatalogue::instance().findEffect(title);
            ASSERT_NE(effect, nullptr) << name << " names " << title;
            EXPECT_EQ(effect->type(), MeEffect::kFilterType) << title;
        }
    }
}

}  // namespace
