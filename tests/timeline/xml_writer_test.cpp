#include <gtest/gtest.h>
#include <libxml/tree.h>

#include <functional>
#include <random>
#include <string>

#include "support/model_fixtures.h"
#include "timeline/xml_text_writer.h"
#include "timeline/xml_tree_builder.h"

// The text writer against libxml2 itself: the same elements, once written as
// text and once built as a tree and saved the way the model used to save it.
namespace {

using Write = std::function<void(XmlSink&)>;

std::string savedByLibxml2(const Write& write) {
    XmlDocument document(xmlNewDoc(reinterpret_cast<const xmlChar*>("1.0")));
    XmlTreeBuilder builder(reinterpret_cast<xmlNodePtr>(document.get()));
    write(builder);
    const std::string path = testsupport::makeTempDirectory("qv-xml-writer") + "/saved.xml";
    EXPECT_GT(xmlSaveFormatFileEnc(path.c_str(), document.get(), "utf-8", 1), 0);
    return testsupport::readFile(path);
}

std::string writtenAsText(const Write& write) {
    XmlTextWriter writer;
    write(writer);
    return std::string(writer.document());
}

void expectSameAsLibxml2(const Write& write) {
    EXPECT_EQ(writtenAsText(write), savedByLibxml2(write));
}

// Every byte but NUL, then bytes after a NUL that neither writer may show.
std::string everyByte() {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte) {
        bytes.push_back(static_cast<char>(byte));
    }
    return bytes + std::string(1, '\0') + "hidden";
}

TEST(XmlTextWriter, EscapesAndIndentsAsLibxml2Saves) {
    const std::string bytes = everyByte();
    const std::pair<const char*, Write> cases[] = {
        {"empty root",
         [](XmlSink& sink) {
             sink.begin("r");
             sink.end();
         }},
        {"every byte",
         [&](XmlSink& sink) {
             sink.begin("r");
             sink.begin("t");
             sink.attribute("a", bytes);
             sink.attribute("b", "");
             sink.text(bytes);
             sink.end();
             sink.textElement("empty", "");
             sink.begin("bare");
             sink.attribute("a", "x");
             sink.end();
             sink.end();
         }},
        {"broken UTF-8",
         [](XmlSink& sink) {
             sink.begin("r");
             sink.attribute("a", "\xc3(\xff\xfe\xe2\x82 caf\xc3\xa9");
             sink.text("\xf0\x9f\x98\x80 \xc3");
             sink.end();
         }},
        {"values longer than a block",
         [&](XmlSink& sink) {
             std::string longValue;
             for (int copy = 0; copy < 40; ++copy) {
                 longValue += bytes.substr(0, 255);
             }
             sink.begin("r");
             sink.attribute("a", longValue);
             sink.text(longValue + std::string(1, '\0') + longValue);
             sink.end();
         }},
        {"deeper than the indentation goes",
         [](XmlSink& sink) {
             for (int level = 0; level < 40; ++level) {
                 sink.begin("d");
                 sink.attribute("level", std::to_string(level));
             }
             sink.textElement("leaf", "x");
             for (int level = 0; level < 40; ++level) {
                 sink.end();
             }
         }},
    };
    for (const auto& [name, write] : cases) {
        SCOPED_TRACE(name);
        expectSameAsLibxml2(write);
    }
}

// Random trees of random values: the corners a table can miss.
TEST(XmlTextWriter, RandomDocumentsMatchLibxml2) {
    std::mt19937 random(20261125);
    auto value = [&random] {
        std::string text(random() % 12, ' ');
        for (char& byte : text) {
            // Mostly the bytes that escape, some NULs, the rest at random.
            const char* special = "&<>\"'\t\n\r\0";
            byte = random() % 2 == 0 ? special[random() % 10] : static_cast<char>(random());
        }
        return text;
    };
    const char* names[] = {"a", "producer", "Track", "x_y"};
    for (int document = 0; document < 200; ++document) {
        const unsigned seed = random();
        const Write write = [&](XmlSink& sink) {
            std::mt19937 shape(seed);
            int open = 0;
            sink.begin("root");
            for (int step = 0; step < 30; ++step) {
                const unsigned choice = shape() % 4;
                if (choice == 0 && open > 0) {
                    sink.end();
                    --open;
                    continue;
                }
                sink.begin(names[shape() % 4]);
                for (unsigned n = shape() % 3; n > 0; --n) {
                    sink.attribute(names[n], value());
                }
                if (choice == 1) {
                    sink.text(value());
                    sink.end();
                } else if (choice == 2) {
                    sink.end();
                } else {
                    ++open;
                }
            }
            for (; open >= 0; --open) {
                sink.end();
            }
        };
        // Both writers must see the same values, so each draws from a copy.
        const std::mt19937 before = random;
        const std::string text = writtenAsText(write);
        random = before;
        ASSERT_EQ(text, savedByLibxml2(write)) << "document " << document;
    }
}

}  // namespace
