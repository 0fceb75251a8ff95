#include "framework/quillavant_framework.h"

#include "host/log.h"
#include "messages/action_message.h"
#include "messages/result_text.h"

CQuillavantFramework::CQuillavantFramework() = default;

std::string CQuillavantFramework::runCommandMessage(const std::string& body) {
    ActionMessage message;
    message.parse(body);
    if (message.commands().size() == 1) {
        std::string name = message.commands().front()->getCommand();
        writeLog(kLogDebug, "Receive [%s] command", name.c_str());
        writeLog(kLogDebug, "Return [%s] command Ok", name.c_str());
        return makeJsonText(kReturnResultKey, false);
    }
    return makeJsonText(kReturnResultKey, true);
}

std::string CQuillavantFramework::runControlMessage(const std::string& body) {
    ActionMessage message;
    message.parse(body);
    return makeJsonText(kReturnResultKey, true);
}

void CQuillavantFramework::closeEngine() {}
