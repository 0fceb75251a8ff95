// The reference the project files are held against: libxml2 alone reading a
// document (xmlReadFile) and saving the tree it read (xmlSaveFormatFileEnc,
// "utf-8", indented, no sync), with nothing of the model around it.
#pragma once

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstdio>
#include <string>

#include "bench_figures.h"

namespace bench {

struct LibxmlTimes {
    double readMs = 0.0;
    double saveMs = 0.0;
};

inline LibxmlTimes libxml2Times(const std::string& path, int rounds) {
    LibxmlTimes times;
    times.readMs = medianMs(rounds, [&] { xmlFreeDoc(xmlReadFile(path.c_str(), "UTF-8", 0)); });
    xmlDocPtr document = xmlReadFile(path.c_str(), "UTF-8", 0);
    const std::string copy = path + ".libxml2";
    times.saveMs =
        medianMs(rounds, [&] { xmlSaveFormatFileEnc(copy.c_str(), document, "utf-8", 1); });
    xmlFreeDoc(document);
    std::remove(copy.c_str());
    return times;
}

}  // namespace bench
