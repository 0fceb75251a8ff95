#include "timeline/playlist.h"

#include "log/log.h"
#include "timeline/decimal_text.h"
#include "timeline/model_names.h"
#include "timeline/xml_tree.h"

namespace {

const char kAddFilterLog[] = "Add Filter : track=%s index=%d name=%s";
const char kDeleteFilterFailedLog[] =
    "MePlayList::deleteFilter failed still return true filterID [%s]";

// An absent or empty count is "0".
std::string readCount(CParseJson& json, const char* key) {
    std::string count;
    if (!json.getString(key, count) || count.empty()) {
        return modelkind::kZero;
    }
    return count;
}

}  // namespace

MePlayList::MePlayList()
    : repeat_(modelkind::kZero),
      blankLength_(modelkind::kZero),
      repeatHead_(modelkind::kZero),
      headIn_(modelkind::kZero),
      repeatTail_(modelkind::kZero),
      tailOut_(modelkind::kZero),
      service_(mltxml::kPlaylist) {}

bool MePlayList::initFromJson(CParseJson& json) {
    if (!service_.initFromJson(json)) {
        return false;
    }
    blankLength_ = readCount(json, jsonkey::kBlankLength);
    repeat_ = readCount(json, jsonkey::kRepeat);
    repeatHead_ = readCount(json, jsonkey::kRepeatHead);
    headIn_ = repeatHead_ == modelkind::kZero ? modelkind::kZero : service_.in();
    repeatTail_ = readCount(json, jsonkey::kRepeatTail);
    tailOut_ = repeatTail_ == modelkind::kZero ? modelkind::kZero : service_.out();
    return true;
}

bool MePlayList::initFromJsonText(const std::string& text) {
    return initFromParsedText(*this, text);
}

void MePlayList::writeMltXml(xmlNodePtr parent) const {
    xmlNodePtr playlist = service_.writeMltElement(parent, false);
    const int blank = decimalValue(blankLength_);
    if (blank > 0) {
        xmltree::setAttribute(xmltree::appendElement(playlist, mltxml::kBlank),
                              mltxml::kLengthAttribute, blankLength_);
    }
    if (repeatHead_ != modelkind::kZero) {
        writeEntry(playlist, headIn_, headIn_, repeatHead_);
    }
    writeEntry(playlist, service_.in(), service_.out(), repeat_);
    if (repeatTail_ != modelkind::kZero) {
        writeEntry(playlist, tailOut_, tailOut_, repeatTail_);
    }
    // Filter ranges are relative to the clip; the playlist starts with the blank.
    for (MeFilter filter : filters_) {
        const int in = decimalValue(filter.in());
        const int out = decimalValue(filter.out());
        if (in != -1 && out != -1) {
            filter.service().setIn(decimalText(static_cast<long long>(in) + blank));
            filter.service().setOut(decimalText(static_cast<long long>(out) + blank));
        }
        filter.writeMltXml(playlist, true);
    }
}

void MePlayList::writeEntry(xmlNodePtr playlist, const std::string& in, const std::string& out,
                            const std::string& repeat) const {
    xmlNodePtr entry = xmltree::appendElement(playlist, mltxml::kEntry);
    xmltree::setAttribute(entry, mltxml::kProducerAttribute, mediaId_);
    if (in != modelkind::kUnset && out != modelkind::kUnset) {
        xmltree::setAttribute(entry, mltxml::kInAttribute, in);
        xmltree::setAttribute(entry, mltxml::kOutAttribute, out);
    }
    if (repeat != modelkind::kZero) {
        xmltree::setAttribute(entry, mltxml::kRepeatAttribute, repeat);
    }
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
    const int blank = decimalValue(blankLength_);
    const long long remaining = static_cast<long long>(blank) - frames;
    if (remaining < 0) {
        blankLength_ = modelkind::kZero;
        repeatHead_ = decimalText(blank);
    } else {
        blankLength_ = decimalText(remaining);
        repeatHead_ = decimalText(frames);
    }
    headIn_ = service_.in();
    return true;
}

bool MePlayList::setTailRepeat(int frames) {
    repeatTail_ = decimalText(frames);
    tailOut_ = service_.out();
    return true;
}

std::string MePlayList::duration() const {
    return decimalText(static_cast<long long>(decimalValue(service_.out())) -
                       decimalValue(service_.in()) + 1);
}

bool MePlayList::readXml(xmlNodePtr playlist) {
    service_.readXml(playlist->children);
    const std::pair<const char*, std::string*> fields[] = {
        {projectxml::kMediaId, &mediaId_}, {projectxml::kBlankLength, &blankLength_},
        {projectxml::kRepeat, &repeat_},   {projectxml::kRepeatHead, &repeatHead_},
        {projectxml::kHeadIn, &headIn_},   {projectxml::kRepeatTail, &repeatTail_},
        {projectxml::kTailOut, &tailOut_},
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

bool MePlayList::writeXml(xmlNodePtr parent) const {
    xmlNodePtr playlist = xmltree::appendElement(parent, projectxml::kPlaylist);
    service_.writeXml(playlist);
    xmltree::appendText(playlist, projectxml::kMediaId, mediaId_);
    xmltree::appendText(playlist, projectxml::kBlankLength, blankLength_);
    xmltree::appendText(playlist, projectxml::kRepeat, repeat_);
    xmltree::appendText(playlist, projectxml::kRepeatHead, repeatHead_);
    xmltree::appendText(playlist, projectxml::kHeadIn, headIn_);
    xmltree::appendText(playlist, projectxml::kRepeatTail, repeatTail_);
    xmltree::appendText(playlist, projectxml::kTailOut, tailOut_);
    if (!filters_.empty()) {
        xmlNodePtr filters = xmltree::appendElement(playlist, projectxml::kFilters);
        for (const MeFilter& filter : filters_) {
            filter.writeXml(filters);
        }
    }
    if (!multiFilters_.empty()) {
        xmlNodePtr multiFilters = xmltree::appendElement(playlist, projectxml::kMultiFilters);
        for (const auto& entry : multiFilters_) {
            entry.second.writeXml(multiFilters);
        }
    }
    return true;
}
