#include "timeline/xml_sink.h"

#include "timeline/model_names.h"

void XmlSink::textElement(std::string_view name, std::string_view value) {
    begin(name);
    text(value);
    end();
}

void XmlSink::mltProperty(std::string_view name, std::string_view value) {
    begin(mltxml::kProperty);
    attribute(mltxml::kNameAttribute, name);
    text(value);
    end();
}
