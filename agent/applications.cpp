// The packages on the screen: which of them the session's user may see and start, and starting
// one.
#include <algorithm>
#include <cstdio>

#include "agent/desktopCheck.h"
#include "agent/kalloagent.h"
#include "agent/logSources.h"
#include "agent/response.h"
#include "agent/settings.h"
#include "support/commandOutput.h"
#include "support/process/wordSplit.h"
#include "support/protocol.h"

namespace {

constexpr const char* kAdministratorsGroup = "0";
constexpr size_t kWorkspaceLimit = 1024;
constexpr size_t kProcessCommand = 1024;

const char* yesOrNo(bool value) {
    return value ? "yes" : "no";
}

void addPackage(XMLNode& document, const PackageRecord& package) {
    XMLNode item = document.addChild(protocol::kItemElement);
    response::addElement(item, protocol::kNameElement, package.name);
    response::addElement(item, protocol::kDisplayNameElement, package.Display_Name);
    response::addElement(item, protocol::kPackageVersionElement, package.Version);
    response::addElement(item, protocol::kIdentifierElement, package.identifier);
    response::addElement(item, protocol::kPhoneIconElement, yesOrNo(!package.phoneIcon.empty()));
    response::addElement(item, protocol::kPadIconElement, yesOrNo(!package.padIcon.empty()));
}

/// Whether the process list has a line with `match`.
bool isApplicationRunning(const std::string& match) {
    char command[kProcessCommand];
    snprintf(command, sizeof command, "/bin/ps aux | grep %s | grep -v grep", match.c_str());
    const auto output = support::readCommandOutput(support::splitWords(command), 1);
    return output && !output->empty();
}

}  // namespace

bool CKalloAgent::isAdministrator_() {
    std::vector<exportEnv_s> env;
    getKALLOPrivateEnv(env);
    const auto group = std::ranges::find(env, "NasGroupID", &exportEnv_s::name);
    return group != env.end() && group->value == kAdministratorsGroup;
}

bool CKalloAgent::isMultiWinWorkspace_() {
    const auto output = settings::read("TaskBar", "Enable", nullptr, kWorkspaceLimit);
    if (output && output->empty()) {
        logSources::logFailed(logSources::kWorkspace, "fread");
    }
    return output != "False" && output != "False\n";
}

void CKalloAgent::getVEXAList(resultContent_t& result) {
    XMLNode document = beginAnswer_();
    response::addKnown(document, protocol::kModelElement, m_model);
    response::addKnown(document, protocol::kInternalModelElement, m_internalModel);
    response::addKnown(document, protocol::kServerNameElement, m_displayName);
    response::addKnown(document, protocol::kSystemVersionElement, m_ruxVersion);
    response::addKnown(document, protocol::kSystemBuildElement, m_ruxBuild);
    response::addKnown(document, protocol::kBuildNumberElement, m_ruxNumber);
    if (!isDesktopRunning()) {
        response::addResult(document, protocol::loginRequired);
    } else {
        const PackageListPtr packages = m_vexaManager->packages();
        response::addResult(document, protocol::success);
        for (const PackageRecord& package : *packages) {
            // Asked anew for every package: the user may change while the list is made.
            if (!isAdministrator_() && package.AdminOnly) {
                support::logLine(support::Colour::request, logSources::kForAdministrators,
                                 ">>1 admin...:%s\n", package.name.c_str());
            } else if (package.Enable) {
                addPackage(document, package);
            } else {
                support::logLine(support::Colour::request, logSources::kDisabled,
                                 ">>2 disable...:%s\n", package.name.c_str());
            }
        }
    }
    response::finishDeclared(document, result);
}

void CKalloAgent::launch_(const XMLNode& param, resultContent_t& result) {
    int code = protocol::success;
    if (!isDesktopRunning()) {
        code = protocol::loginRequired;
    } else if (param.text() != nullptr) {
        // A launch without a name starts nothing, and clients expect it to be a success.
        code = launchPackage_(param.text());
    }
    errorResponse_(code, result);
}

int CKalloAgent::launchPackage_(const std::string& name) {
    const PackageListPtr packages = m_vexaManager->packages();
    const PackageRecord* package = findPackage(*packages, name);
    if (package == nullptr) {
        return protocol::vexaNotFound;
    }
    if (package->AdminOnly && !isAdministrator_()) {
        return protocol::noPermission;
    }
    const std::string match = m_vexaManager->exeFilename(name);
    if (match.empty()) {
        if (!isMultiWinWorkspace_()) {
            m_vexaManager->stopAll();
        }
    } else if (isApplicationRunning(match)) {
        const bool second = isMultiWinWorkspace_() && m_vexaManager->multiWindow(name) == 0;
        return second ? protocol::invalidCommand : protocol::success;
    }
    std::vector<exportEnv_s> env;
    getKALLOPrivateEnv(env);
    m_vexaManager->startVexaExec(name, env, false);
    return protocol::success;
}
