// quillavant-cli: talks to a running engine service over its pipe.
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/recovery.h"
#include "cli/session.h"
#include "platform/platform.h"

namespace {

const char kUsage[] =
    "usage: quillavant-cli [--pipe NAME] [options] [COMMAND [CONTENT_JSON]]\n"
    "\n"
    "Sends requests to a running quillavant-host and prints each reply's header\n"
    "and body. The service serves one connection in its lifetime and ends when\n"
    "that connection closes, so a session of several requests goes in one run\n"
    "(--script).\n"
    "\n"
    "  quillavant-cli -p NAME ADD_TRACK '{\"ID\":\"Track0\",\"Type\":\"composite\"}'\n"
    "  quillavant-cli -p NAME --control PRE_PLAY '{\"AutoPlay\":true,...}'\n"
    "  quillavant-cli -p NAME --body request.json --type 1\n"
    "  quillavant-cli -p NAME --script session.txt     (or - for standard input)\n"
    "  quillavant-cli -p NAME --close\n"
    "  quillavant-cli --recover JOURNAL --save OUT.xml\n"
    "  quillavant-cli --list-recoverable\n"
    "\n"
    "Options:\n"
    "  -p, --pipe NAME     pipe name (default $QUILLAVANT_PIPE or \"quillavant\")\n"
    "  -c, --control       send COMMAND as a control message (type 2)\n"
    "  --body FILE|-       send FILE's text as the whole request body\n"
    "  --type N            header type for --body (default 1)\n"
    "  --script FILE|-     run a session script, one request per line:\n"
    "                        command NAME [CONTENT_JSON]   (type 1)\n"
    "                        control NAME [CONTENT_JSON]   (type 2)\n"
    "                        body TYPE BODY_JSON           (a whole body)\n"
    "                        expect VALUE    stop unless the last result equals VALUE\n"
    "                        export CONTENT_JSON   EXPORT_MOVIE with a progress bar\n"
    "                        sleep MS | close | # comment\n"
    "  --export JSON       render with EXPORT_MOVIE and show its progress\n"
    "  --record FILE       write every request sent, each followed by an expect\n"
    "                      line holding its result: a session to replay later\n"
    "  --replay FILE       run a recorded session, report every result that\n"
    "                      differs from the recording, exit 4 if any did\n"
    "  --close             send the close request (after anything else)\n"
    "  -q, --quiet         print only each reply's \"ReturnResultString\" value\n"
    "  --echo              print each script line before sending it\n"
    "  --timeout MS        how long to wait for the service's socket (default 5000)\n"
    "  --recover JOURNAL   rebuild the project an edit journal kept, in a private\n"
    "                      service, and save it to the file given with --save\n"
    "  --list-recoverable  list the edit journals left by services that ended\n"
    "                      without saving their last edits (in\n"
    "                      $QUILLAVANT_RECOVERY_DIR, else $XDG_STATE_HOME/quillavant/\n"
    "                      recovery, else ~/.local/state/quillavant/recovery)\n"
    "  -h, --help          this text\n"
    "\n"
    "Exit codes: 0 ok, 1 no reply (the service closed the connection), 2 usage,\n"
    "3 no service listening, 4 an expect line failed, 5 the journal was damaged\n"
    "(its readable edits were recovered and saved), 6 nothing was recovered.\n";

std::string readAll(const std::string& source) {
    std::stringstream text;
    if (source == "-") {
        text << std::cin.rdbuf();
    } else {
        std::ifstream file(source, std::ios::binary);
        if (!file) {
            throw std::runtime_error("cannot read " + source);
        }
        text << file.rdbuf();
    }
    return text.str();
}

}  // namespace

int main(int argc, char** argv) {
    std::string pipeName = platform::environmentValue("QUILLAVANT_PIPE");
    if (pipeName.empty()) {
        pipeName = "quillavant";
    }
    SessionOptions options;
    bool control = false;
    bool closeAfter = false;
    int type = 1;
    int timeoutMs = 5000;
    std::string bodySource;
    std::string scriptSource;
    std::string recordPath;
    std::string exportContent;
    std::string recoverSource;
    std::string recoverTarget;
    bool listJournals = false;
    std::vector<std::string> positional;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        auto next = [&](const char* what) -> std::string {
            if (i + 1 >= argc) {
                std::cerr << "quillavant-cli: " << arg << " needs " << what << "\n";
                std::exit(kExitUsage);
            }
            return argv[++i];
        };
        if (arg == "-h" || arg == "--help") {
            std::cout << kUsage;
            return kExitOk;
        } else if (arg == "-p" || arg == "--pipe") {
            pipeName = next("a pipe name");
        } else if (arg == "-c" || arg == "--control") {
            control = true;
        } else if (arg == "--body") {
            bodySource = next("a file");
        } else if (arg == "--type") {
            type = std::atoi(next("a number").c_str());
        } else if (arg == "--script") {
            scriptSource = next("a file");
        } else if (arg == "--record") {
            recordPath = next("a file");
        } else if (arg == "--replay") {
            scriptSource = next("a file");
            options.keepGoing = true;
        } else if (arg == "--export") {
            exportContent = next("the EXPORT_MOVIE content");
        } else if (arg == "--recover") {
            recoverSource = next("a journal");
        } else if (arg == "--save") {
            recoverTarget = next("a project file");
        } else if (arg == "--list-recoverable") {
            listJournals = true;
        } else if (arg == "--close") {
            closeAfter = true;
        } else if (arg == "-q" || arg == "--quiet") {
            options.quiet = true;
        } else if (arg == "--echo") {
            options.echo = true;
        } else if (arg == "--timeout") {
            timeoutMs = std::atoi(next("milliseconds").c_str());
        } else if (!arg.empty() && arg[0] == '-' && arg != "-") {
            std::cerr << "quillavant-cli: unknown option " << arg << "\n" << kUsage;
            return kExitUsage;
        } else {
            positional.push_back(arg);
        }
    }
    if (listJournals) {
        return listRecoverable(std::cout);
    }
    if (!recoverSource.empty() || !recoverTarget.empty()) {
        if (recoverSource.empty() || recoverTarget.empty()) {
            std::cerr << "quillavant-cli: --recover and --save go together\n";
            return kExitUsage;
        }
        return recoverJournal(recoverSource, recoverTarget, std::cout, std::cerr);
    }
    if (positional.empty() && bodySource.empty() && scriptSource.empty() && exportContent.empty() &&
        !closeAfter) {
        std::cerr << kUsage;
        return kExitUsage;
    }
    if (positional.size() > 2) {
        std::cerr << "quillavant-cli: too many arguments (quote the JSON content)\n";
        return kExitUsage;
    }

    PipeClient client;
    if (!client.connect(pipeName, timeoutMs)) {
        std::cerr << "quillavant-cli: " << client.lastError() << "\n";
        return kExitNoService;
    }
    std::ofstream record;
    if (!recordPath.empty()) {
        record.open(recordPath, std::ios::binary | std::ios::trunc);
        if (!record) {
            std::cerr << "quillavant-cli: cannot write " << recordPath << "\n";
            return kExitUsage;
        }
        record << "# recorded by quillavant-cli: replay with --replay\n";
        options.record = &record;
    }
    Session session(client, options, std::cout);
    int code = kExitOk;
    try {
        if (scriptSource == "-") {
            code = session.runScript(std::cin);
        } else if (!scriptSource.empty()) {
            // Read as the lines arrive: a script may be a pipe fed during the session.
            std::ifstream script(scriptSource);
            if (!script) {
                throw std::runtime_error("cannot read " + scriptSource);
            }
            code = session.runScript(script);
        }
        if (code == kExitOk && !bodySource.empty()) {
            code = session.sendBody(static_cast<uint16_t>(type), readAll(bodySource));
        }
        if (code == kExitOk && !exportContent.empty()) {
            code = session.runLine("export " + exportContent);
        }
        if (code == kExitOk && !positional.empty()) {
            code = session.send(control ? kControlMessage : kCommandMessage, positional[0],
                                positional.size() > 1 ? positional[1] : std::string());
        }
    } catch (const std::exception& failure) {
        std::cerr << "quillavant-cli: " << failure.what() << "\n";
        return kExitUsage;
    }
    if (code == kExitOk && closeAfter && client.isConnected()) {
        code = session.close();
    }
    return code;
}
