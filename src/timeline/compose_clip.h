// A clip whose producer combines named sub-clips, each with its own resource,
// timing and picture format. The sub-clips reach MLT as producer properties
// whose names carry the sub-clip's name.
#pragma once

#include <map>
#include <string>

#include "timeline/clip.h"

struct MeSubClip {
    std::string name;
    std::string type;
    std::string resource;
    std::string in;
    std::string out;
    std::string start;
    std::string end;
    int width = 0;
    int height = 0;
    double fps = 0.0;
};

class MeComposeClip : public MeClip {
  public:
    MeComposeClip() = default;
    ~MeComposeClip() override = default;

    // The clip's fields, then "SubClips"; a repeated name replaces the earlier.
    bool initFromJson(CParseJson& json) override;
    using MeClip::writeMltXml;
    void writeMltXml(XmlSink& sink) const override;
    // "ComposeClip" with a "SubClips" child; a repeated name keeps the earlier.
    bool readXml(xmlNodePtr clip) override;
    using MeClip::writeXml;
    bool writeXml(XmlSink& sink) const override;

    const std::map<std::string, MeSubClip>& subClips() const { return subClips_; }

  private:
    void readSubClips(xmlNodePtr subClips);

    std::map<std::string, MeSubClip> subClips_;
};
