// Project files made to hurt the reader: entity bombs, external entities,
// absurd nesting, a giant text node. LOAD_PROJECT refuses them or loads them
// bounded; the service keeps its memory, never copies a local file into the
// project, and answers the next request.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "support/service_process.h"
#include "support/test_media.h"

using testsupport::ServiceProcess;

namespace {

const char kSecret[] = "quillavant-secret-0b7d1e";

std::string q(const std::string& text) {
    return "\"" + text + "\"";
}

// The most memory the process has held so far, in kilobytes.
long peakMemoryKb(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmHWM:", 0) == 0) {
            return std::atol(line.c_str() + 6);
        }
    }
    return 0;
}

std::string clipElement(const std::string& id, const std::string& resource) {
    return "<Clips><Clip><ID>" + id + "</ID><Resource>" + resource + "</Resource></Clip></Clips>";
}

void writeBomb(const std::string& path) {
    std::ofstream out(path);
    out << "<?xml version=\"1.0\"?>\n<!DOCTYPE Quillavant [\n<!ENTITY a0 \"laughlaughlaugh\">\n";
    for (int i = 1; i <= 30; ++i) {
        out << "<!ENTITY a" << i << " \"";
        for (int k = 0; k < 10; ++k) {
            out << "&a" << i - 1 << ";";
        }
        out << "\">\n";
    }
    out << "]>\n<Quillavant>" << clipElement("bomb", "&a30;")
        << "<Note>&a30;</Note></Quillavant>\n";
}

void writeExternalEntity(const std::string& path, const std::string& secretFile) {
    std::ofstream out(path);
    out << "<?xml version=\"1.0\"?>\n<!DOCTYPE Quillavant [\n<!ENTITY leak SYSTEM \"file://"
        << secretFile << "\">\n]>\n<Quillavant>" << clipElement("leak", "&leak;")
        << "<Note>&leak;</Note></Quillavant>\n";
}

void writeDeepNesting(const std::string& path) {
    std::ofstream out(path);
    out << "<?xml version=\"1.0\"?>\n<Quillavant>";
    for (int i = 0; i < 200000; ++i) {
        out << "<Clips>";
    }
    for (int i = 0; i < 200000; ++i) {
        out << "</Clips>";
    }
    out << "</Quillavant>\n";
}

void writeGiantText(const std::string& path) {
    std::ofstream out(path);
    out << "<?xml version=\"1.0\"?>\n<Quillavant><Note>";
    const std::string block(1 << 20, 'x');
    for (int i = 0; i < 100; ++i) {
        out << block;
    }
    out << "</Note></Quillavant>\n";
}

TEST(HostileProject, IsRefusedOrLoadedBoundedAndNeverReadsALocalFile) {
    const std::string dir = testsupport::makeTempDirectory("hostile-project");
    const std::string secretFile = dir + "/secret.txt";
    std::ofstream(secretFile) << kSecret << "\n";
    const struct {
        const char* name;
        void (*write)(const std::string&);
    } cases[] = {
        {"bomb.xml", writeBomb},
        {"deep.xml", writeDeepNesting},
        {"giant.xml", writeGiantText},
    };
    for (const auto& c : cases) {
        c.write(dir + "/" + c.name);
    }
    writeExternalEntity(dir + "/external.xml", secretFile);

    ServiceProcess service;
    ASSERT_TRUE(service.connect());
    const long baseline = peakMemoryKb(service.pid());
    const struct {
        const char* name;
        const char* answer;  // "" where refusing and loading bounded are both fine
    } loads[] = {
        {"bomb.xml", "false"},
        {"external.xml", "false"},
        {"deep.xml", ""},
        {"giant.xml", ""},
    };
    for (const auto& load : loads) {
        SCOPED_TRACE(load.name);
        const std::string path = dir + "/" + load.name;
        const std::string answer =
            service.commandResult("LOAD_PROJECT", "{\"FileName\":" + q(path) + "}");
        if (*load.answer != '\0') {
            EXPECT_EQ(answer, load.answer);
        } else {
            EXPECT_TRUE(answer == "true" || answer == "false") << answer;
        }
        EXPECT_LT(peakMemoryKb(service.pid()) - baseline, 200 * 1024);
        // Whatever was loaded, saving it shows no trace of the local file.
        const std::string saved = dir + "/saved.xml";
        EXPECT_EQ(service.commandResult("SAVE_PROJECT", "{\"FileName\":" + q(saved) + "}"), "true");
        EXPECT_EQ(testsupport::readFile(saved).find(kSecret), std::string::npos);
        EXPECT_EQ(service.commandResult("CLEAR_PROJECT"), "true");
    }
    for (const char* refused : {"bomb.xml", "external.xml"}) {
        EXPECT_NE(service.stderrText().find("Refused project file " + dir + "/" + refused +
                                            ": it declares entities"),
                  std::string::npos)
            << refused;
    }
    EXPECT_EQ(service.close(), 0) << service.stderrText();
    testsupport::runCommand("rm -rf '" + dir + "'");
}

}  // namespace
