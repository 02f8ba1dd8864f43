// The agent: two listeners, one loop, and the handlers behind every command of a client app and of
// the local channel. One object, made by main(); everything here runs on the main thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "accounts/credentialCipher.h"
#include "agent/resultContent.h"
#include "agent/windows.h"
#include "packages/packageRecord.h"
#include "packages/vexaManager.h"
#include "socketcpp/Socket.h"
#include "support/xmlParser.h"

class CKalloAgent {
  public:
    /// Reads the server's identity, builds the package catalogue and makes both sockets, unbound.
    /// Missing configuration leaves its strings empty; memory exhaustion aborts the process.
    CKalloAgent();
    CKalloAgent(const CKalloAgent&) = delete;
    CKalloAgent& operator=(const CKalloAgent&) = delete;
    ~CKalloAgent() = default;

    /// Prepares the settings files, then binds and listens on both sockets. Returns 0, or -1 after
    /// the first socket failure, which is logged.
    int initialize();

    /// Serves clients, one after the other, until waiting for them fails; returns -1 then.
    int exec();

    /// Fills `env` with the desktop session's exported variables, in the order delivered. Returns
    /// false, with `env` empty, when the session environment tool cannot be run or prints nothing;
    /// true with `env` empty when what it prints is no XML.
    bool getKALLOPrivateEnv(std::vector<exportEnv_s>& env);

    /// Logs a user in with enciphered values, as the texts of the request's two parameters; either
    /// may be null.
    void login(const unsigned char* user, const unsigned char* password, resultContent_t& result);

    /// Logs a user in with values that are base64 only.
    void loginWithoutAES(const unsigned char* user, const unsigned char* password,
                         resultContent_t& result);

    /// Asks the desktop session to end, unless automatic log-in is on. Leaves no answer.
    void logout();

    /// Answers the packages that the session's user may see.
    void getVEXAList(resultContent_t& result);

  private:
    friend class AgentProbe;  // the fuzz target "request", which serves connections of its own
    using Self = CKalloAgent;
    struct Call;
    struct Command;
    static const Command kCommands[];

    // kalloagent.cpp: construction and the loop
    void readIdentity_();
    int tcpSocketConfig_(int fd);
    void acceptTcp_();
    void acceptUnix_();

    // conversation.cpp: one connection from request to close
    using Respond = void (CKalloAgent::*)(const char* command, const XMLNode& request,
                                          resultContent_t& result);
    int tcpProcess_(std::unique_ptr<corex::Socket> connection);
    int unixIpcProcess_(std::unique_ptr<corex::Socket> connection);
    int converse_(std::unique_ptr<corex::Socket>& connection, const char* function,
                  Respond respond);
    int ackToClient_(const resultContent_t& result, std::unique_ptr<corex::Socket>& connection);

    // response.cpp: the documents that all answers have in common
    [[nodiscard]] XMLNode beginAnswer_() const;
    void errorResponse_(int code, resultContent_t& result);
    static void sizeDocument_(size_t length, std::string& out);

    // commandTable.cpp: from a client app's command to its handler
    void runCommand_(const char* command, const XMLNode& request, resultContent_t& result);

    // localChannel.cpp: the command of programs on this machine
    void runLocalCommand_(const char* command, const XMLNode& request, resultContent_t& result);
    void getPassword_(resultContent_t& result);

    // Handlers, each in the file of its concern
    void getStatus_(resultContent_t& result);                           // windows.cpp
    void getIcon_(const XMLNode& request, resultContent_t& result);     // icons.cpp
    void launch_(const XMLNode& param, resultContent_t& result);        // applications.cpp
    void getSettings_(resultContent_t& result);                         // session.cpp
    void setAutoLogin_(const XMLNode& param, resultContent_t& result);  // session.cpp
    void getCurrentUser_(resultContent_t& result);                      // session.cpp

    // applications.cpp: what a launch goes by
    bool isAdministrator_();
    bool isMultiWinWorkspace_();
    int launchPackage_(const std::string& name);

    std::unique_ptr<corex::Socket> m_tcpPtr;
    std::unique_ptr<corex::Socket> m_unixPtr;
    std::unique_ptr<CVexaManager> m_vexaManager;
    std::unique_ptr<std::vector<WindowInfo>> m_windowList;
    std::unique_ptr<AesKeys> m_aesKeys;
    std::string m_torvikVersion;
    std::string m_model;
    std::string m_internalModel;
    std::string m_displayName;
    std::string m_ruxVersion;
    std::string m_ruxBuild;
    std::string m_ruxNumber;
};
