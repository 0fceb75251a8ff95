#include "timeline/xml_file.h"

#include <libxml/parser.h>

#include <cstdio>

#include "platform/durable_file.h"
#include "timeline/xml_text_writer.h"

namespace {
const char kEncoding[] = "UTF-8";
const char kSaveEncoding[] = "utf-8";
constexpr int kIndented = 1;
const char kXmlVersion[] = "1.0";
}  // namespace

XmlDocument newXmlDocument(const char* rootName) {
    XmlDocument document(xmlNewDoc(reinterpret_cast<const xmlChar*>(kXmlVersion)));
    xmlDocSetRootElement(document.get(),
                         xmlNewNode(nullptr, reinterpret_cast<const xmlChar*>(rootName)));
    return document;
}

XmlDocument readXmlFile(const std::string& path, int options) {
    return XmlDocument(xmlReadFile(path.c_str(), kEncoding, options));
}

bool writeXmlDocument(xmlDocPtr document, const std::string& path) {
    const std::string partial = platform::temporaryPathBeside(path);
    if (xmlSaveFormatFileEnc(partial.c_str(), document, kSaveEncoding, kIndented) < 0) {
        std::remove(partial.c_str());
        return false;
    }
    return platform::commitTemporaryFile(partial, path);
}

bool writeXmlFile(const std::string& path, const std::function<void(XmlSink&)>& write) {
    platform::DurableFileWriter file(path);
    XmlTextWriter writer([&file](std::string_view piece) { file.append(piece); });
    write(writer);
    writer.flush();
    return file.commit();
}
