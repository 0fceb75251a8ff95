#include "engine/graph_xml.h"

#include <framework/mlt.h>
#include <libxml/tree.h>
#include <unistd.h>

#include <cctype>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace graphxml {
namespace {

const xmlChar* x(const char* text) {
    return reinterpret_cast<const xmlChar*>(text);
}

bool same(const char* a, const char* b) {
    return a != nullptr && std::strcmp(a, b) == 0;
}

bool startsWith(const char* text, const char* prefix) {
    return std::strncmp(text, prefix, std::strlen(prefix)) == 0;
}

// The kinds of identifier MLT generates when a service has none of its own
// (or one already taken), each with its own counter.
enum class IdKind {
    Existing,
    Producer,
    Multitrack,
    Playlist,
    Tractor,
    Filter,
    Transition,
    Chain,
    Link
};

const char* idStem(IdKind kind) {
    switch (kind) {
        case IdKind::Producer:
            return "producer";
        case IdKind::Multitrack:
            return "multitrack";
        case IdKind::Playlist:
            return "playlist";
        case IdKind::Tractor:
            return "tractor";
        case IdKind::Filter:
            return "filter";
        case IdKind::Transition:
            return "transition";
        case IdKind::Chain:
            return "chain";
        case IdKind::Link:
            return "link";
        case IdKind::Existing:
            break;
    }
    return "";
}

// The identifiers handed out during one serialisation: each service gets one
// name, and a name belongs to one service.
class IdMap {
  public:
    // The service's name when it has one, else null; for Existing, nothing new is handed out.
    // For any other kind, a service that already has a name gives null ("done already").
    const char* get(mlt_service service, IdKind kind) {
        auto known = names_.find(service);
        if (known != names_.end()) {
            return kind == IdKind::Existing ? known->second->c_str() : nullptr;
        }
        if (kind == IdKind::Existing) {
            return nullptr;
        }
        const char* own = mlt_properties_get(MLT_SERVICE_PROPERTIES(service), "id");
        std::string name;
        if (own == nullptr || taken_.count(own) != 0) {
            int& counter = counters_[static_cast<int>(kind)];
            do {
                name = idStem(kind) + std::to_string(counter++);
            } while (taken_.count(name) != 0);
        } else {
            name = own;
        }
        const std::string* stored = &*taken_.insert(name).first;
        names_.emplace(service, stored);
        return stored->c_str();
    }

  private:
    std::unordered_map<mlt_service, const std::string*> names_;
    std::unordered_set<std::string> taken_;  // node-based: the pointers above stay valid
    int counters_[9] = {};
};

// Thrown through the serialiser's own frames (no C code calls back into
// them) when the caller no longer wants the text.
struct Abandoned {};

// How many services are written between two questions to the caller.
constexpr int kServicesBetweenChecks = 256;

class Serialiser {
  public:
    Serialiser(std::string root, const KeepGoing& keepGoing)
        : root_(std::move(root)), keepGoing_(keepGoing) {}

    void serialiseOther(mlt_properties properties, xmlNodePtr node);
    void serialiseService(mlt_service service, xmlNodePtr node);
    void nextPass() { ++pass_; }

  private:
    void properties(mlt_properties properties, xmlNodePtr node);
    void storeProperties(mlt_properties properties, xmlNodePtr node, const char* store);
    void serviceFilters(mlt_service service, xmlNodePtr node);
    void producer(mlt_service service, xmlNodePtr node);
    void multitrack(mlt_service service, xmlNodePtr node);
    void playlist(mlt_service service, xmlNodePtr node);
    void tractor(mlt_service service, xmlNodePtr node);
    void bothTractorPasses(mlt_service service, xmlNodePtr node);
    void filter(mlt_service service, xmlNodePtr node);
    void transition(mlt_service service, xmlNodePtr node);
    void link(mlt_service service, xmlNodePtr node);
    void chain(mlt_service service, xmlNodePtr node);
    // The element of a filter, transition, link or chain: id, title, and in
    // and out where they are not zero.
    xmlNodePtr effectElement(xmlNodePtr node, const char* element, const char* id,
                             mlt_properties properties);
    void entryTimes(mlt_properties properties, xmlNodePtr node);
    void stores(mlt_properties properties, xmlNodePtr node);
    const char* time(mlt_properties properties, const char* name) {
        return mlt_properties_get_time(properties, name, mlt_time_frames);
    }
    // MLT's consumer formats entry times by parking them in a property of the
    // source producer; every such change makes the playlists holding the
    // producer re-measure the whole track, so the text is made here instead.
    // Frame counts are written as plain integers.
    static std::string positionText(mlt_position position) { return std::to_string(position); }
    int hideOf(const char* id) const {
        auto found = id ? hide_.find(id) : hide_.end();
        return found == hide_.end() ? 0 : found->second;
    }
    // Strips the root folder from a value that lies below it.
    const char* relative(const char* value, bool eitherSeparator) const;

    void checkIn() {
        if (keepGoing_ && ++servicesSinceCheck_ >= kServicesBetweenChecks) {
            servicesSinceCheck_ = 0;
            if (!keepGoing_()) {
                throw Abandoned{};
            }
        }
    }

    std::string root_;
    const KeepGoing& keepGoing_;
    int servicesSinceCheck_ = 0;
    int pass_ = 0;
    IdMap ids_;
    std::unordered_map<std::string, int> hide_;
};

const char* Serialiser::relative(const char* value, bool eitherSeparator) const {
    size_t length = root_.size();
    if (eitherSeparator && length > 0 && (root_[length - 1] == '/' || root_[length - 1] == '\\')) {
        --length;
    }
    if (length == 0 || std::strncmp(value, root_.c_str(), length) != 0) {
        return nullptr;
    }
    char next = value[length];
    bool below = next == '/' || (eitherSeparator && next == '\\');
    return below ? value + length + 1 : nullptr;
}

// The length of a prefix MLT keeps in front of a relative resource: "plain:"
// of text producers, the speed of "timewarp" ("2.0:clip.mp4").
size_t resourcePrefix(mlt_properties properties, const char* name, const char* value) {
    if (std::strcmp(name, "resource") != 0) {
        return 0;
    }
    const char* service = mlt_properties_get(properties, "mlt_service");
    if (same(service, "timewarp")) {
        const char* delimiter = std::strchr(value, ':');
        size_t result = delimiter ? static_cast<size_t>(delimiter - value) : 0;
        if (result != 0 && (value[result - 1] == '.' || value[result - 1] == ',' ||
                            std::isdigit(static_cast<unsigned char>(value[result - 1])))) {
            return result + 1;
        }
        return 0;
    }
    return startsWith(value, "plain:") ? std::strlen("plain:") : 0;
}

void Serialiser::properties(mlt_properties properties, xmlNodePtr node) {
    static const char* const kHandledElsewhere[] = {"mlt",   "mlt_type", "in",    "out",   "id",
                                                    "title", "root",     "width", "height"};
    for (int i = 0; i < mlt_properties_count(properties); ++i) {
        const char* name = mlt_properties_get_name(properties, i);
        if (name == nullptr || name[0] == '_') {
            continue;
        }
        bool handledElsewhere = false;
        for (const char* skipped : kHandledElsewhere) {
            handledElsewhere = handledElsewhere || std::strcmp(name, skipped) == 0;
        }
        if (mlt_properties_get_value(properties, i) != nullptr && !handledElsewhere) {
            const char* value = mlt_properties_get_value_tf(properties, i, mlt_time_frames);
            if (value == nullptr) {
                continue;
            }
            size_t prefix = resourcePrefix(properties, name, value);
            const char* below = relative(value + prefix, true);
            xmlNodePtr property;
            if (below == nullptr) {
                property = xmlNewTextChild(node, nullptr, x("property"), x(value));
            } else {
                std::string text(value, prefix);
                text += below;
                property = xmlNewTextChild(node, nullptr, x("property"), x(text.c_str()));
            }
            xmlNewProp(property, x("name"), x(name));
        } else if (mlt_properties child = mlt_properties_get_properties_at(properties, i)) {
            xmlNodePtr group = xmlNewChild(node, nullptr, x("properties"), nullptr);
            xmlNewProp(group, x("name"), x(name));
            this->properties(child, group);
        }
    }
}

void Serialiser::storeProperties(mlt_properties properties, xmlNodePtr node, const char* store) {
    for (int i = 0; store != nullptr && i < mlt_properties_count(properties); ++i) {
        const char* name = mlt_properties_get_name(properties, i);
        if (!startsWith(name, store)) {
            continue;
        }
        if (const char* value = mlt_properties_get_value_tf(properties, i, mlt_time_frames)) {
            const char* below = relative(value, false);
            xmlNodePtr property =
                xmlNewTextChild(node, nullptr, x("property"), x(below ? below : value));
            xmlNewProp(property, x("name"), x(name));
        } else if (mlt_properties child = mlt_properties_get_properties_at(properties, i)) {
            xmlNodePtr group = xmlNewChild(node, nullptr, x("properties"), nullptr);
            xmlNewProp(group, x("name"), x(name));
            this->properties(child, group);
        }
    }
}

// The consumer keeps no store pattern of its own and writes meta properties.
void Serialiser::stores(mlt_properties properties, xmlNodePtr node) {
    storeProperties(properties, node, "xml_");
    storeProperties(properties, node, "meta.");
}

xmlNodePtr Serialiser::effectElement(xmlNodePtr node, const char* element, const char* id,
                                     mlt_properties properties) {
    xmlNodePtr child = xmlNewChild(node, nullptr, x(element), nullptr);
    xmlNewProp(child, x("id"), x(id));
    if (const char* title = mlt_properties_get(properties, "title")) {
        xmlNewProp(child, x("title"), x(title));
    }
    if (mlt_properties_get_position(properties, "in") != 0) {
        xmlNewProp(child, x("in"), x(time(properties, "in")));
    }
    if (mlt_properties_get_position(properties, "out") != 0) {
        xmlNewProp(child, x("out"), x(time(properties, "out")));
    }
    return child;
}

void Serialiser::serviceFilters(mlt_service service, xmlNodePtr node) {
    mlt_filter filter = nullptr;
    for (int i = 0; (filter = mlt_service_filter(service, i)) != nullptr; ++i) {
        mlt_properties properties = MLT_FILTER_PROPERTIES(filter);
        if (mlt_properties_get_int(properties, "_loader") != 0) {
            continue;  // normalising filters the loader attached itself
        }
        if (const char* id = ids_.get(MLT_FILTER_SERVICE(filter), IdKind::Filter)) {
            xmlNodePtr child = effectElement(node, "filter", id, properties);
            this->properties(properties, child);
            serviceFilters(MLT_FILTER_SERVICE(filter), child);
        }
    }
}

void Serialiser::entryTimes(mlt_properties properties, xmlNodePtr node) {
    xmlNewProp(node, x("in"), x(time(properties, "in")));
    xmlNewProp(node, x("out"), x(time(properties, "out")));
}

void Serialiser::producer(mlt_service service, xmlNodePtr node) {
    mlt_service parent = MLT_PRODUCER_SERVICE(mlt_producer_cut_parent(MLT_PRODUCER(service)));
    if (pass_ == 0) {
        mlt_properties properties = MLT_SERVICE_PROPERTIES(parent);
        const char* id = ids_.get(parent, IdKind::Producer);
        if (id == nullptr) {
            return;
        }
        xmlNodePtr child = xmlNewChild(node, nullptr, x("producer"), nullptr);
        xmlNewProp(child, x("id"), x(id));
        if (const char* title = mlt_properties_get(properties, "title")) {
            xmlNewProp(child, x("title"), x(title));
        }
        entryTimes(properties, child);
        // A producer the xml loader could not make stands in as text; it is
        // written back as the service it was meant to be.
        if (const char* intended = mlt_properties_get(properties, "_xml_mlt_service")) {
            mlt_properties_set(properties, "mlt_service", intended);
        }
        this->properties(properties, child);
        serviceFilters(service, child);
        hide_[id] = mlt_properties_get_int(properties, "hide");
    } else {
        const char* id = ids_.get(parent, IdKind::Existing);
        mlt_properties properties = MLT_SERVICE_PROPERTIES(service);
        xmlNewProp(node, x("parent"), x(id));
        entryTimes(properties, node);
    }
}

void Serialiser::multitrack(mlt_service service, xmlNodePtr node) {
    mlt_multitrack tracks = reinterpret_cast<mlt_multitrack>(service);
    if (pass_ == 0) {
        for (int i = 0; i < mlt_multitrack_count(tracks); ++i) {
            mlt_producer source = mlt_producer_cut_parent(mlt_multitrack_track(tracks, i));
            serialiseService(MLT_PRODUCER_SERVICE(source), node);
        }
        return;
    }
    if (ids_.get(service, IdKind::Multitrack) == nullptr) {
        return;
    }
    for (int i = 0; i < mlt_multitrack_count(tracks); ++i) {
        xmlNodePtr track = xmlNewChild(node, nullptr, x("track"), nullptr);
        mlt_producer producer = mlt_multitrack_track(tracks, i);
        mlt_properties properties = MLT_PRODUCER_PROPERTIES(producer);
        mlt_service parent = MLT_PRODUCER_SERVICE(mlt_producer_cut_parent(producer));
        const char* id = ids_.get(parent, IdKind::Existing);
        xmlNewProp(track, x("producer"), x(id));
        if (mlt_producer_is_cut(producer)) {
            entryTimes(properties, track);
            stores(properties, track);
            serviceFilters(MLT_PRODUCER_SERVICE(producer), track);
        }
        int hide = hideOf(id);
        if (hide != 0) {
            xmlNewProp(track, x("hide"), x(hide == 1 ? "video" : (hide == 2 ? "audio" : "both")));
        }
    }
    serviceFilters(service, node);
}

void Serialiser::playlist(mlt_service service, xmlNodePtr node) {
    mlt_playlist entries = reinterpret_cast<mlt_playlist>(service);
    mlt_properties properties = MLT_SERVICE_PROPERTIES(service);
    mlt_playlist_clip_info info;
    if (pass_ != 0) {
        if (std::strcmp(reinterpret_cast<const char*>(node->name), "tractor") != 0) {
            xmlNewProp(node, x("producer"), x(ids_.get(service, IdKind::Existing)));
        }
        return;
    }
    const char* id = ids_.get(service, IdKind::Playlist);
    if (id == nullptr) {
        return;
    }
    // The producers first, so the entries can refer to them.
    for (int i = 0; i < mlt_playlist_count(entries); ++i) {
        if (mlt_playlist_get_clip_info(entries, &info, i) != 0 || info.producer == nullptr) {
            continue;
        }
        mlt_producer source = mlt_producer_cut_parent(info.producer);
        mlt_properties sourceProperties = MLT_PRODUCER_PROPERTIES(source);
        const char* serviceName = mlt_properties_get(sourceProperties, "mlt_service");
        if (same(mlt_properties_get(sourceProperties, "resource"), "<playlist>")) {
            playlist(MLT_PRODUCER_SERVICE(source), node);
        } else if (serviceName != nullptr && std::strcmp(serviceName, "blank") != 0) {
            serialiseService(MLT_PRODUCER_SERVICE(source), node);
        }
    }
    xmlNodePtr child = xmlNewChild(node, nullptr, x("playlist"), nullptr);
    xmlNewProp(child, x("id"), x(id));
    if (const char* title = mlt_properties_get(properties, "title")) {
        xmlNewProp(child, x("title"), x(title));
    }
    stores(properties, child);
    hide_[id] = mlt_properties_get_int(properties, "hide");

    for (int i = 0; i < mlt_playlist_count(entries); ++i) {
        if (mlt_playlist_get_clip_info(entries, &info, i) != 0 || info.producer == nullptr) {
            continue;
        }
        mlt_producer source = mlt_producer_cut_parent(info.producer);
        mlt_properties sourceProperties = MLT_PRODUCER_PROPERTIES(source);
        if (same(mlt_properties_get(sourceProperties, "mlt_service"), "blank")) {
            xmlNodePtr entry = xmlNewChild(child, nullptr, x("blank"), nullptr);
            xmlNewProp(entry, x("length"), x(positionText(info.frame_count).c_str()));
            continue;
        }
        xmlNodePtr entry = xmlNewChild(child, nullptr, x("entry"), nullptr);
        xmlNewProp(entry, x("producer"),
                   x(ids_.get(MLT_PRODUCER_SERVICE(source), IdKind::Existing)));
        xmlNewProp(entry, x("in"), x(positionText(info.frame_in).c_str()));
        xmlNewProp(entry, x("out"), x(positionText(info.frame_out).c_str()));
        if (info.repeat > 1) {
            xmlNewProp(entry, x("repeat"), x(std::to_string(info.repeat).c_str()));
        }
        if (mlt_producer_is_cut(info.cut)) {
            stores(MLT_PRODUCER_PROPERTIES(info.cut), entry);
            serviceFilters(MLT_PRODUCER_SERVICE(info.cut), entry);
        }
    }
    serviceFilters(service, child);
}

void Serialiser::tractor(mlt_service service, xmlNodePtr node) {
    mlt_properties properties = MLT_SERVICE_PROPERTIES(service);
    if (pass_ == 0) {
        serialiseService(mlt_service_producer(service), node);
        return;
    }
    const char* id = ids_.get(service, IdKind::Tractor);
    if (id == nullptr) {
        return;
    }
    xmlNodePtr child = xmlNewChild(node, nullptr, x("tractor"), nullptr);
    xmlNewProp(child, x("id"), x(id));
    if (const char* title = mlt_properties_get(properties, "title")) {
        xmlNewProp(child, x("title"), x(title));
    }
    if (mlt_properties_get_position(properties, "in") >= 0) {
        xmlNewProp(child, x("in"), x(time(properties, "in")));
    }
    if (mlt_properties_get_position(properties, "out") >= 0) {
        xmlNewProp(child, x("out"), x(time(properties, "out")));
    }
    stores(properties, child);
    serialiseService(mlt_service_producer(service), child);
    serviceFilters(service, child);
}

// A tractor is written in two passes of its own (its producers, then its
// tracks), and leaves the pass at the first, whatever it was before: a
// nested tractor thus ends its parent's second pass early, as in MLT.
void Serialiser::bothTractorPasses(mlt_service service, xmlNodePtr node) {
    pass_ = 0;
    tractor(service, node);
    pass_ = 1;
    tractor(service, node);
    pass_ = 0;
}

void Serialiser::filter(mlt_service service, xmlNodePtr node) {
    serialiseService(mlt_service_producer(service), node);
    if (pass_ != 1) {
        return;
    }
    mlt_properties properties = MLT_SERVICE_PROPERTIES(service);
    if (const char* id = ids_.get(service, IdKind::Filter)) {
        xmlNodePtr child = effectElement(node, "filter", id, properties);
        this->properties(properties, child);
        serviceFilters(service, child);
    }
}

void Serialiser::transition(mlt_service service, xmlNodePtr node) {
    serialiseService(MLT_SERVICE(MLT_TRANSITION(service)->producer), node);
    if (pass_ != 1) {
        return;
    }
    mlt_properties properties = MLT_SERVICE_PROPERTIES(service);
    if (const char* id = ids_.get(service, IdKind::Transition)) {
        xmlNodePtr child = effectElement(node, "transition", id, properties);
        this->properties(properties, child);
        serviceFilters(service, child);
    }
}

void Serialiser::link(mlt_service service, xmlNodePtr node) {
    if (pass_ != 0) {
        return;
    }
    mlt_properties properties = MLT_SERVICE_PROPERTIES(service);
    if (const char* id = ids_.get(service, IdKind::Link)) {
        xmlNodePtr child = effectElement(node, "link", id, properties);
        this->properties(properties, child);
        serviceFilters(service, child);
    }
}

void Serialiser::chain(mlt_service service, xmlNodePtr node) {
    if (pass_ != 0) {
        return;
    }
    mlt_properties properties = MLT_SERVICE_PROPERTIES(service);
    const char* id = ids_.get(service, IdKind::Chain);
    if (id == nullptr) {
        return;
    }
    xmlNodePtr child = effectElement(node, "chain", id, properties);
    this->properties(properties, child);
    mlt_chain links = reinterpret_cast<mlt_chain>(service);
    for (int i = 0; i < mlt_chain_link_count(links); ++i) {
        if (mlt_link each = mlt_chain_link(links, i)) {
            link(MLT_LINK_SERVICE(each), child);
        }
    }
    serviceFilters(service, child);
}

void Serialiser::serialiseService(mlt_service service, xmlNodePtr node) {
    for (; service != nullptr; service = mlt_service_producer(service)) {
        checkIn();
        mlt_properties properties = MLT_SERVICE_PROPERTIES(service);
        const char* type = mlt_properties_get(properties, "mlt_type");
        const bool loaded = mlt_properties_get(properties, "xml") != nullptr;
        if (same(type, "producer")) {
            if (!loaded && same(mlt_properties_get(properties, "mlt_service"), "tractor")) {
                bothTractorPasses(service, node);
                return;
            }
            producer(service, node);
            if (loaded) {
                return;
            }
        } else if (same(type, "mlt_producer")) {
            const char* resource = mlt_properties_get(properties, "resource");
            if (same(resource, "<multitrack>")) {
                multitrack(service, node);
                return;
            }
            if (same(resource, "<playlist>")) {
                playlist(service, node);
            } else if (same(resource, "<tractor>")) {
                bothTractorPasses(service, node);
                return;
            } else if (mlt_properties_get_int(properties, "_original_type") ==
                       mlt_service_chain_type) {
                chain(service, node);
                mlt_properties_set(properties, "mlt_type", "chain");
                if (loaded) {
                    return;
                }
            } else {
                producer(service, node);
                if (loaded) {
                    return;
                }
            }
        } else if (same(type, "chain")) {
            chain(service, node);
            return;
        } else if (same(type, "filter")) {
            filter(service, node);
            return;
        } else if (same(type, "transition")) {
            transition(service, node);
            return;
        }
    }
}

void Serialiser::serialiseOther(mlt_properties properties, xmlNodePtr node) {
    for (int i = 0; i < mlt_properties_count(properties); ++i) {
        const char* name = mlt_properties_get_name(properties, i);
        if (std::strlen(name) <= 10 || !startsWith(name, "xml_retain")) {
            continue;
        }
        auto retained =
            static_cast<mlt_service>(mlt_properties_get_data_at(properties, i, nullptr));
        if (retained != nullptr) {
            mlt_properties_set_int(MLT_SERVICE_PROPERTIES(retained), "xml_retain", 1);
            serialiseService(retained, node);
        }
    }
}

void addProfile(xmlNodePtr root, mlt_profile profile) {
    xmlNodePtr node = xmlNewChild(root, nullptr, x("profile"), nullptr);
    if (profile->description != nullptr) {
        xmlNewProp(node, x("description"), x(profile->description));
    }
    const struct {
        const char* name;
        int value;
    } fields[] = {{"width", profile->width},
                  {"height", profile->height},
                  {"progressive", profile->progressive},
                  {"sample_aspect_num", profile->sample_aspect_num},
                  {"sample_aspect_den", profile->sample_aspect_den},
                  {"display_aspect_num", profile->display_aspect_num},
                  {"display_aspect_den", profile->display_aspect_den},
                  {"frame_rate_num", profile->frame_rate_num},
                  {"frame_rate_den", profile->frame_rate_den},
                  {"colorspace", profile->colorspace}};
    for (const auto& field : fields) {
        xmlNewProp(node, x(field.name), x(std::to_string(field.value).c_str()));
    }
}

std::string currentFolder() {
    std::unique_ptr<char, decltype(&std::free)> folder(getcwd(nullptr, 0), &std::free);
    return folder ? folder.get() : "";
}

struct DocFree {
    void operator()(xmlDocPtr doc) const { xmlFreeDoc(doc); }
};

}  // namespace

std::optional<std::string> serialise(mlt_service service, const KeepGoing& keepGoing) {
    if (service == nullptr) {
        return std::string();
    }
    mlt_properties properties = MLT_SERVICE_PROPERTIES(service);
    // A consumer made without a profile gets MLT's default one (read once), and
    // writing to a property makes the working folder the document's root.
    static mlt_profile const profile = mlt_profile_init(nullptr);
    const std::string folder = currentFolder();
    mlt_properties_set(properties, "root", folder.c_str());

    std::unique_ptr<xmlDoc, DocFree> doc(xmlNewDoc(x("1.0")));
    xmlNodePtr root = xmlNewNode(nullptr, x("mlt"));
    xmlDocSetRootElement(doc.get(), root);
    const char* numeric = mlt_properties_get_lcnumeric(properties);
    xmlNewProp(root, x("LC_NUMERIC"), x(numeric ? numeric : std::setlocale(LC_NUMERIC, nullptr)));
    xmlNewProp(root, x("version"), x(mlt_version_get_string()));
    const char* rootFolder = mlt_properties_get(properties, "root");
    xmlNewProp(root, x("root"), x(rootFolder));
    if (const char* title = mlt_properties_get(properties, "title")) {
        xmlNewProp(root, x("title"), x(title));
    }
    if (profile != nullptr) {
        addProfile(root, profile);
    }

    Serialiser serialiser(rootFolder, keepGoing);
    mlt_properties_set_int(properties, "_original_type", mlt_service_identify(service));
    mlt_properties_set(properties, "mlt_type", "mlt_producer");
    try {
        serialiser.serialiseOther(properties, root);
        serialiser.serialiseService(service, root);
        serialiser.nextPass();
        serialiser.serialiseOther(properties, root);
        serialiser.serialiseService(service, root);
    } catch (const Abandoned&) {
        return std::nullopt;
    }

    xmlChar* buffer = nullptr;
    int length = 0;
    xmlDocDumpMemoryEnc(doc.get(), &buffer, &length, "utf-8");
    // MLT keeps the text as a C string property: it ends at the first NUL.
    std::string text = buffer ? reinterpret_cast<const char*>(buffer) : "";
    xmlFree(buffer);
    return text;
}

}  // namespace graphxml
