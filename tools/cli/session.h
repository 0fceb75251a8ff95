// A client session: requests read one per line from a script and sent over
// one connection (the service serves exactly one client in its lifetime).
#pragma once

#include <iosfwd>
#include <string>

#include "client/pipe_client.h"

struct SessionOptions {
    bool quiet = false;              // print only the result value of each reply
    bool echo = false;               // print each request line before sending it
    bool keepGoing = false;          // report failed expectations and go on (replay)
    std::ostream* record = nullptr;  // where to record requests and their results
};

// Exit codes shared by every mode of the client.
enum ExitCode {
    kExitOk = 0,
    kExitRequestFailed = 1,  // the service ended the connection without a reply
    kExitUsage = 2,
    kExitNoService = 3,
    kExitExpectationFailed = 4,
    kExitJournalDamaged = 5,  // --recover skipped damaged edits; the rest was saved
    kExitRecoveryFailed = 6,  // --recover saved nothing
};

class Session {
  public:
    Session(PipeClient& client, const SessionOptions& options, std::ostream& out);

    // Runs one script line; returns an exit code (kExitOk to go on).
    int runLine(const std::string& line);
    // Runs every line of a stream, stopping at the first failure.
    int runScript(std::istream& script);

    // Sends one request and prints the reply.
    int send(uint16_t type, const std::string& name, const std::string& contentJson);
    int sendBody(uint16_t type, const std::string& body);
    int close();

    const std::string& lastResult() const { return lastResult_; }
    int failedExpectations() const { return failedExpectations_; }

  private:
    void printReply(const PipeReply& reply);
    int checkExpectation(const std::string& expected);
    void recordRequest(const std::string& line, const std::string& name);

    PipeClient& client_;
    SessionOptions options_;
    std::ostream& out_;
    std::string lastResult_;
    int lineNumber_ = 0;
    int failedExpectations_ = 0;
};
