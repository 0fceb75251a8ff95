#include "timeline/effect_catalogue.h"

#include <fstream>
#include <iterator>

#include "platform/platform.h"
#include "timeline/model_names.h"
#include "timeline/xml_file.h"
#include "timeline/xml_tree.h"

namespace {

const char kCatalogueRoot[] = "effects";
const char kNameAttribute[] = "name";
const char kTypeAttribute[] = "type";
const char kMultiFilterTypeName[] = "Multifilter";
const char kCommandFileName[] = "cmdfile";
// libxml2's XML_PARSE_RECOVER.
constexpr int kCatalogueParseOptions = 1;

// Calls visit for every element child of the catalogue's root. A file that
// cannot be read, or whose root is not "effects", gives nothing.
template <typename Visit>
void forEachEntry(const std::string& file, Visit visit) {
    XmlDocument document = readXmlFile(file, kCatalogueParseOptions);
    xmlNodePtr root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    if (!xmltree::hasName(root, kCatalogueRoot)) {
        return;
    }
    xmltree::forEachElement(root, visit);
}

std::string folderOf(const std::string& file) {
    size_t separator = file.find_last_of(platform::kPathSeparatorChar);
    return separator == std::string::npos ? std::string(".") : file.substr(0, separator);
}

bool readJsonFile(const std::string& path, Json::Value& document) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return false;
    }
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    return parseJsonText(text, document);
}

}  // namespace

MeEffectCatalogue& MeEffectCatalogue::instance() {
    // A function-local static is created once, under the compiler's own lock.
    static MeEffectCatalogue* catalogue = new MeEffectCatalogue();
    return *catalogue;
}

void MeEffectCatalogue::loadCatalogues(const std::string& effectFile,
                                       const std::string& multiEffectFile) {
    loadEffects(effectFile);
    loadMultiEffects(multiEffectFile);
}

void MeEffectCatalogue::loadEffects(const std::string& file) {
    forEachEntry(file, [this](xmlNodePtr entry) {
        MeEffect effect;
        effect.readCatalogueEntry(entry);
        effects_.emplace(effect.name(), std::move(effect));
    });
}

void MeEffectCatalogue::loadMultiEffects(const std::string& file) {
    const std::string folder = folderOf(file);
    forEachEntry(file, [this, &folder](xmlNodePtr entry) { readMultiEffectEntry(entry, folder); });
}

void MeEffectCatalogue::readMultiEffectEntry(xmlNodePtr entry, const std::string& catalogueFolder) {
    MeMultiEffect effect;
    xmltree::readAttribute(entry, kNameAttribute, effect.name);
    std::string type;
    xmltree::readAttribute(entry, kTypeAttribute, type);
    effect.type =
        type == kMultiFilterTypeName ? MeMultiEffect::kMultiFilterType : MeMultiEffect::kOtherType;
    for (xmlNodePtr child = entry->children; child != nullptr; child = child->next) {
        std::string name;
        if (!xmltree::isElement(child) || !xmltree::readAttribute(child, kNameAttribute, name) ||
            name != kCommandFileName) {
            continue;
        }
        // The command file is named relative to the working directory; the
        // catalogue's own folder is the fallback, so the shipped presets load
        // wherever the host was started from.
        const std::string relative = xmltree::wholeText(child);
        Json::Value document;
        if (readJsonFile(std::string(".") + platform::kPathSeparator + relative, document) ||
            readJsonFile(catalogueFolder + platform::kPathSeparator + relative, document)) {
            effect.commands.load(document);
        }
    }
    multiEffects_.emplace(effect.name, std::move(effect));
}

MeEffect* MeEffectCatalogue::findEffect(const std::string& name) {
    auto found = effects_.find(name);
    return found == effects_.end() ? nullptr : &found->second;
}

MeMultiEffect* MeEffectCatalogue::findMultiEffect(const std::string& name) {
    auto found = multiEffects_.find(name);
    return found == multiEffects_.end() ? nullptr : &found->second;
}
