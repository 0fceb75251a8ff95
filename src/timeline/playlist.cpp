#include "timeline/playlist.h"

#include "log/log.h"
#include "timeline/decimal_text.h"
#include "timeline/model_names.h"
#include "timeline/xml_tree.h"
#include "timeline/xml_tree_builder.h"

namespace {

const char kAddFilterLog[] = "Add Filter : track=%s index=%d name=%s";
const char kDeleteFilterFailedLog[] =
    "MePlayList::deleteFilter failed still return true filterID [%s]";

// An absent or empty count is "0".
std::string readCount(CParseJson& json, const char* key) {
    std::string count;
    if (!json.getString(key, count) || count.empty()) {
        return std::string(modelkind::kZero);
    }
    return count;
}

}  // namespace

MePlayList::MePlayList() : repeat_(modelkind::kZero), service_(mltxml::kPlaylist) {}

bool MePlayList::initFromJson(CParseJson& json) {
    if (!service_.initFromJson(json)) {
        return false;
    }
    timing_.blankLength = readCount(json, jsonkey::kBlankLength);
    repeat_ = readCount(json, jsonkey::kRepeat);
    timing_.repeatHead = readCount(json, jsonkey::kRepeatHead);
    timing_.headIn = timing_.repeatHead == modelkind::kZero ? modelkind::kZero : service_.in();
    timing_.repeatTail = readCount(json, jsonkey::kRepeatTail);
    timing_.tailOut = timing_.repeatTail == modelkind::kZero ? modelkind::kZero : service_.out();
    return true;
}

bool MePlayList::initFromJsonText(const std::string& text) {
    return initFromParsedText(*this, text);
}

void MePlayList::writeMltXml(XmlSink& sink) const {
    writeMltXml(sink, timing_);
}

void MePlayList::writeMltXml(xmlNodePtr parent) const {
    writeUnder(parent, [this](XmlSink& sink) { writeMltXml(sink); });
}

void MePlayList::writeMltXml(XmlSink& sink, const PlacementTiming& timing) const {
    service_.writeMltElement(sink, false);
    const int blank = decimalValue(timing.blankLength);
    if (blank > 0) {
        sink.begin(mltxml::kBlank);
        sink.attribute(mltxml::kLengthAttribute, timing.blankLength);
        sink.end();
    }
    if (timing.repeatHead != modelkind::kZero) {
        writeEntry(sink, timing.headIn, timing.headIn, timing.repeatHead);
    }
    writeEntry(sink, service_.in(), service_.out(), repeat_);
    if (timing.repeatTail != modelkind::kZero) {
        writeEntry(sink, timing.tailOut, timing.tailOut, timing.repeatTail);
    }
    // Filter ranges are relative to the clip; the playlist starts with the blank.
    for (MeFilter filter : filters_) {
        const int in = decimalValue(filter.in());
        const int out = decimalValue(filter.out());
        if (in != -1 && out != -1) {
            filter.service().setIn(decimalText(static_cast<long long>(in) + blank));
            filter.service().setOut(decimalText(static_cast<long long>(out) + blank));
        }
        filter.writeMltXml(sink, true);
    }
    sink.end();
}

void MePlayList::writeEntry(XmlSink& sink, const std::string& in, const std::string& out,
                            const std::string& repeat) const {
    sink.begin(mltxml::kEntry);
    sink.attribute(mltxml::kProducerAttribute, mediaId_);
    if (in != modelkind::kUnset && out != modelkind::kUnset) {
        sink.attribute(mltxml::kInAttribute, in);
        sink.attribute(mltxml::kOutAttribute, out);
    }
    if (repeat != modelkind::kZero) {
        sink.attribute(mltxml::kRepeatAttribute, repeat);
    }
    sink.end();
}

bool MePlayList::addFilter(CParseJson& json) {
    MeFilter filter;
    if (!filter.initFromJson(json)) {
        return false;
    }
    writeLog(kLogVerbose, kAddFilterLog, filter.trackId().c_str(), filter.index(),
             filter.effectName().c_str());
    filters_.push_back(filter);
    return true;
}

bool MePlayList::addMultiFilter(CParseJson& json) {
    MeMultiFilter multiFilter;
    if (!multiFilter.initFromJson(json)) {
        return false;
    }
    multiFilters_.emplace(multiFilter.id(), multiFilter);
    return true;
}

bool MePlayList::deleteFilter(const std::string& filterId) {
    for (auto filter = filters_.begin(); filter != filters_.end(); ++filter) {
        if (filter->id() == filterId) {
            filters_.erase(filter);
            return true;
        }
    }
    if (multiFilters_.erase(filterId) > 0) {
        return true;
    }
    writeLog(kLogError, kDeleteFilterFailedLog, filterId.c_str());
    return true;
}

bool MePlayList::setHeadRepeat(int frames) {
    timing_.setHeadRepeat(frames, service_.in());
    return true;
}

bool MePlayList::setTailRepeat(int frames) {
    timing_.setTailRepeat(frames, service_.out());
    return true;
}

std::string MePlayList::duration() const {
    return decimalText(static_cast<long long>(decimalValue(service_.out())) -
                       decimalValue(service_.in()) + 1);
}

bool MePlayList::readXml(xmlNodePtr playlist) {
    service_.readXml(playlist->children);
    const std::pair<const char*, std::string*> fields[] = {
        {projectxml::kMediaId, &mediaId_},        {projectxml::kBlankLength, &timing_.blankLength},
        {projectxml::kRepeat, &repeat_},          {projectxml::kRepeatHead, &timing_.repeatHead},
        {projectxml::kHeadIn, &timing_.headIn},   {projectxml::kRepeatTail, &timing_.repeatTail},
        {projectxml::kTailOut, &timing_.tailOut},
    };
    for (xmlNodePtr child = playlist->children; child != nullptr; child = child->next) {
        for (const auto& [name, field] : fields) {
            if (xmltree::hasName(child, name)) {
                xmltree::readText(child, *field);
            }
        }
        if (xmltree::hasName(child, projectxml::kFilters)) {
            xmltree::forEachElement(child, [this](xmlNodePtr node) {
                MeFilter filter;
                filter.readXml(node);
                filters_.push_back(filter);
            });
        } else if (xmltree::hasName(child, projectxml::kMultiFilters)) {
            xmltree::forEachElement(child, [this](xmlNodePtr node) {
                MeMultiFilter multiFilter;
                multiFilter.readXml(node);
                multiFilters_.emplace(multiFilter.id(), multiFilter);
            });
        }
    }
    return true;
}

bool MePlayList::writeXml(XmlSink& sink) const {
    sink.begin(projectxml::kPlaylist);
    service_.writeXml(sink);
    sink.textElement(projectxml::kMediaId, mediaId_);
    sink.textElement(projectxml::kBlankLength, timing_.blankLength);
    sink.textElement(projectxml::kRepeat, repeat_);
    sink.textElement(projectxml::kRepeatHead, timing_.repeatHead);
    sink.textElement(projectxml::kHeadIn, timing_.headIn);
    sink.textElement(projectxml::kRepeatTail, timing_.repeatTail);
    sink.textElement(projectxml::kTailOut, timing_.tailOut);
    if (!filters_.empty()) {
        sink.begin(projectxml::kFilters);
        for (const MeFilter& filter : filters_) {
            filter.writeXml(sink);
        }
        sink.end();
    }
    if (!multiFilters_.empty()) {
        sink.begin(projectxml::kMultiFilters);
        for (const auto& entry : multiFilters_) {
            entry.second.writeXml(sink);
        }
        sink.end();
    }
    sink.end();
    return true;
}

bool MePlayList::writeXml(xmlNodePtr parent) const {
    writeUnder(parent, [this](XmlSink& sink) { writeXml(sink); });
    return true;
}
