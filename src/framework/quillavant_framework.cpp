#include "framework/quillavant_framework.h"

#include <framework/mlt.h>

#include "framework/command_dispatcher.h"
#include "framework/control_dispatcher.h"
#include "framework/framework_names.h"
#include "framework/journaled_edit.h"
#include "log/log.h"
#include "messages/action_message.h"
#include "platform/module_path.h"
#include "platform/platform.h"
#include "timeline/effect_catalogue.h"

namespace {
constexpr char kConfigFolder[] = "Configs";
constexpr char kEffectCatalogue[] = "Effect.xml";
constexpr char kMultiEffectCatalogue[] = "MultiEffect.xml";

std::string cataloguePath(const char* fileName) {
    return platform::modulePath().directory + kConfigFolder + platform::kPathSeparator + fileName;
}
}  // namespace

CQuillavantFramework::CQuillavantFramework() {
    MeEffectCatalogue::instance().loadCatalogues(cataloguePath(kEffectCatalogue),
                                                 cataloguePath(kMultiEffectCatalogue));
}

std::string CQuillavantFramework::runCommandMessage(const std::string& body) {
    tgMessageHead head;
    head.type = kCommandMessage;
    head.length = static_cast<uint32_t>(body.size());
    return runCommandMessage(head, body);
}

std::string CQuillavantFramework::runCommandMessage(const tgMessageHead& head,
                                                    const std::string& body) {
    ActionMessage message;
    message.parse(body);
    JournaledEdit journaled(journal_, head, body, message);
    std::string result;
    bool projectFileWritten = false;
    if (message.commands().size() == 1) {
        CommandContext context{player_, project_, history_};
        CommandOutcome outcome = dispatchCommand(context, *message.commands().front());
        result = std::move(outcome.resultText);
        projectFileWritten = outcome.projectFileWritten;
    } else {
        EditTarget target{player_, project_};
        for (const auto& command : message.commands()) {
            dispatchEditCommand(target, *command);
        }
        history_.recordPoint(project_);
        result = commandResult(true);
    }
    writeLog(kLogVerbose, fwlog::kRecoverIndex, history_.index(), history_.size());
    journaled.finish(projectFileWritten);
    return result;
}

std::string CQuillavantFramework::runControlMessage(const std::string& body) {
    ActionMessage message;
    message.parse(body);
    for (const auto& control : message.commands()) {
        runControl(player_, project_, *control);
    }
    return commandResult(true);
}

void CQuillavantFramework::closeEngine() {
    player_.closeConsumer();
    // A client may vanish while an export renders: its consumer thread must
    // be stopped and its services closed before the factory goes away.
    player_.closeExport();
    mlt_factory_close();
}
