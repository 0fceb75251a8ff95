// Reading and writing whole XML files. Every document the model writes goes
// through writeXmlDocument or writeXmlFile, which never leave a half-written
// file in place of the previous one.
#pragma once

#include <functional>
#include <string>

#include "timeline/xml_sink.h"
#include "timeline/xml_tree.h"

// An XML 1.0 document holding only a root element of the given name.
XmlDocument newXmlDocument(const char* rootName);

// xmlReadFile with the encoding "UTF-8" and the given libxml2 options;
// empty when the file cannot be read or parsed.
XmlDocument readXmlFile(const std::string& path, int options);

// Saves the document indented, in UTF-8, to a synced temporary file beside
// path and renames it over path. False when nothing could be written; the
// previous file is then untouched.
bool writeXmlDocument(xmlDocPtr document, const std::string& path);

// Writes the document that write makes (through an XmlTextWriter) to path
// the same way, as it is made.
bool writeXmlFile(const std::string& path, const std::function<void(XmlSink&)>& write);
