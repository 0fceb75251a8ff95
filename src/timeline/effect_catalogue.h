// The effects and multi-effects the client may name, read once at start from
// the two catalogue files beside the host executable. One catalogue serves
// the whole process.
#pragma once

#include <libxml/tree.h>

#include <map>
#include <string>

#include "messages/action_message.h"
#include "timeline/effect.h"

// A filter preset: a list of editing commands read from the entry's command
// file.
struct MeMultiEffect {
    static constexpr int kMultiFilterType = 1;
    static constexpr int kOtherType = 2;

    ActionMessage commands;
    std::string name;
    int type = 0;
};

class MeEffectCatalogue {
  public:
    // Created on first use; never destroyed.
    static MeEffectCatalogue& instance();

    // Reads the effect catalogue, then the multi-effect catalogue.
    void loadCatalogues(const std::string& effectFile, const std::string& multiEffectFile);
    void loadEffects(const std::string& file);
    void loadMultiEffects(const std::string& file);

    // Exact, case-sensitive lookups. The entries are the catalogue's own: a
    // change made through them is seen by every later lookup.
    MeEffect* findEffect(const std::string& name);
    MeMultiEffect* findMultiEffect(const std::string& name);

  private:
    MeEffectCatalogue() = default;

    void readMultiEffectEntry(xmlNodePtr entry, const std::string& catalogueFolder);

    std::map<std::string, MeEffect> effects_;
    std::map<std::string, MeMultiEffect> multiEffects_;
};
