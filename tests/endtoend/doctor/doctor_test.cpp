// SPDX-License-Identifier: Apache-2.0
// What the tool tells of the PC/SC service, its readers and cards when something is wrong with them.
#include "tools/child_process/child_process.h"
#include "tools/virtual_reader/pcsc_service.h"
#include "tools/virtual_reader/virtual_card.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using Words = std::vector<std::string>;

const std::string module = "module " OPENSC_MODULE ": ";
const std::string restart = "\"systemctl restart pcscd.socket pcscd\"";
const std::string turnTheCard =
    "turn the card round, or clean its contacts; one that is mute in another reader too is broken\n";
/// What file rights keep from others, they keep from root too.
const Words bound = {SETPRIV, "--bounding-set", "-dac_override,-dac_read_search"};

Outcome tool(const Words& arguments, Words command = {})
{
    // Java takes the tool's classes from their archive, or ignores an archive that does not fit.
    for (const char* word :
         {JAVA, "-XX:TieredStopAtLevel=1", "-XX:+UseSerialGC", "-Xlog:disable", "-Xlog:all=error,cds*=off:stderr",
          "-XX:SharedArchiveFile=" TOOL_ARCHIVE, "-Djava.library.path=" JAVA_LIBRARY_PATH, "-jar", TOOL_JAR})
        command.emplace_back(word);
    command.insert(command.end(), arguments.begin(), arguments.end());
    return run(command);
}

Outcome doctor(const Words& command = {})
{
    return tool({"doctor", "--module", OPENSC_MODULE, "--terminal", virtualReader}, command);
}

/// Expects a text to have some lines, which follow one another.
void expectLines(const Outcome& outcome, const std::string& lines)
{
    EXPECT_NE(("\n" + outcome.out).find("\n" + lines), std::string::npos) << lines << "is not in:\n"
                                                                          << outcome.out << outcome.err;
}

/// A socket at the service's place, with nobody behind it.
class Socket {
public:
    Socket()
    {
        sockaddr_un place{};
        place.sun_family = AF_UNIX;
        std::strncpy(place.sun_path, pcscSocket, sizeof place.sun_path - 1);
        EXPECT_EQ(bind(socket_, reinterpret_cast<const sockaddr*>(&place), sizeof place), 0);
    }
    ~Socket()
    {
        (void)close(socket_); // was never read or written
        (void)unlink(pcscSocket);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    /// From now on clients can connect, and wait for an answer.
    void listenOnly() const { EXPECT_EQ(listen(socket_, 5), 0); }

private:
    int socket_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

TEST(Doctor, AsksForTheCardOfTheChosenReader)
{
    const PcscService service;
    const Outcome found = doctor();
    expectLines(found,
                "ok       name 'Virtual PCD 00 00': it chooses reader 'Virtual PCD 00 00' (slot 0) of " OPENSC_MODULE
                "\nwarning  name 'Virtual PCD 00 00': there is no card in that reader\n"
                "         -> put the card in\n");
    expectLines(found, "ok       PC/SC: reader 'Virtual PCD 00 00', empty\n");
    EXPECT_EQ(found.status, 0);
}

TEST(Doctor, TellsOfACardThatTheModuleDoesNotKnow)
{
    const PcscService service;
    VirtualCard card;
    card.waitUntilIdle();
    const Outcome found = doctor();
    expectLines(found, "warning  " + module +
                           "reader 'Virtual PCD 00 00' (slot 0): "
                           "token cannot be read (CKR_TOKEN_NOT_RECOGNIZED)\n"
                           "         -> the module does not know this card: take the module of the card's maker\n");
    expectLines(found, "ok       PC/SC: reader 'Virtual PCD 00 00', with a card\n");
}

// OpenSC's module does not show a reader with such a card, and may wait for it longer than the doctor for the module.
TEST(Doctor, TellsOfACardThatDoesNotAnswer)
{
    PcscService service;
    const VirtualCard card(VirtualCard::Manner::mute);
    service.waitUntilMute();
    const Outcome found = doctor();
    expectLines(found, "warning  PC/SC: reader 'Virtual PCD 00 00', with a card that does not answer\n         -> " +
                           turnTheCard);
    const bool inTime = found.out.find("it does not answer within 10 s") == std::string::npos;
    expectLines(found, (inTime ? "         -> the reader is connected, but its card does not answer: "
                               : "         -> a card does not answer, which may keep the module waiting: ") +
                           turnTheCard);
    EXPECT_EQ(found.status, 1);

    expectLines(tool({"readers", "--module", OPENSC_MODULE}),
                "PC/SC readers\nVirtual PCD 00 00, with a card that does not answer\n");
    const Outcome json = tool({"readers", "--module", OPENSC_MODULE, "--json"});
    EXPECT_NE(json.out.find(R"({"name":"Virtual PCD 00 00","cardPresent":true,"cardMute":true})"), std::string::npos)
        << json.out;
    const Outcome reset = tool({"reset-terminal", "--terminal", virtualReader});
    EXPECT_EQ(reset.err, "vornixtoken-tool reset-terminal: resetting reader 'Virtual PCD 00 00': "
                         "SCARD_W_UNPOWERED_CARD (0x80100067) from SCardConnect\n"
                         "the card does not answer (SCARD_W_UNPOWERED_CARD): " +
                             turnTheCard);
    EXPECT_EQ(reset.status, 1);
}

TEST(Doctor, TellsThatNoServiceRuns)
{
    const Outcome found = doctor();
    expectLines(found, "warning  " + module + "it shows no reader\n         -> see PC/SC below");
    expectLines(found, "warning  PC/SC: no PC/SC service runs here, for there is no socket /run/pcscd/pcscd.comm "
                       "(SCARD_E_NO_SERVICE)\n"
                       "         -> for a reader that is connected: install pcscd, and start it by "
                       "\"systemctl start pcscd.socket\"; a container needs that socket mounted into it\n");
}

TEST(Doctor, TellsThatTheServiceIsGone)
{
    const Socket socket;
    expectLines(doctor(), "warning  PC/SC: no PC/SC service answers at the socket /run/pcscd/pcscd.comm "
                          "(SCARD_E_NO_SERVICE)\n"
                          "         -> start it anew by " +
                              restart + "\n");
}

TEST(Readers, DoNotWaitForEverForTheService)
{
    const Socket socket;
    socket.listenOnly();
    expectLines(tool({"readers", "--module", "/nonexistent"}),
                "PC/SC readers\nNone can be listed: the PC/SC service does not answer within 10 s\n");
}

TEST(Doctor, TellsThatTheServiceMayNotBeUsed)
{
    const PcscService service;
    const auto expectForbidden = [] {
        expectLines(doctor(bound), "warning  PC/SC: you may not use the PC/SC service: the rights of its socket "
                                   "/run/pcscd/pcscd.comm forbid it (SCARD_E_NO_SERVICE)\n"
                                   "         -> the service opens its socket to everybody, so somebody closed it: ask "
                                   "them, or have it made anew by " +
                                       restart + "\n");
    };
    ASSERT_EQ(chmod(pcscSocket, 0), 0);
    expectForbidden();
    ASSERT_EQ(chmod(pcscSocket, 0666), 0);
    ASSERT_EQ(chmod("/run/pcscd", 0), 0);
    expectForbidden();
    ASSERT_EQ(chmod("/run/pcscd", 0755), 0);
    expectLines(doctor(bound), "ok       PC/SC: reader 'Virtual PCD 00 00', empty\n");
}

#ifdef PCSCD_WITHOUT_POLKIT
TEST(Doctor, TellsThatTheServiceRefusesTheUser)
{
    const auto service = PcscService::thatRefusesItsClients();
    expectLines(doctor(), "warning  PC/SC: you may not use the PC/SC service (SCARD_W_SECURITY_VIOLATION)\n"
                          "         -> have polkit allow org.debian.pcsc-lite.access_pcsc and access_card: "
                          "/usr/share/doc/pcscd/README.polkit shows how\n");
}
#endif

TEST(ResetTerminal, SaysWhatStandsInTheWay)
{
    const auto reset = [](const std::string& reader) {
        const Outcome outcome = tool({"reset-terminal", "--terminal", reader});
        EXPECT_EQ(outcome.status, 1);
        return outcome.err.substr(outcome.err.find('\n') + 1);
    };
    const PcscService service;
    EXPECT_EQ(reset("Virtual PCD"), "the PC/SC service has no reader of this name (SCARD_E_UNKNOWN_READER): "
                                    "\"vornixtoken-tool readers\" shows the names of the PC/SC readers\n");
    EXPECT_EQ(reset(virtualReader), "there is no card in the reader (SCARD_E_NO_SMARTCARD): put the card in\n");
    VirtualCard card;
    card.waitUntilIdle();
    const CardUser user(SCARD_SHARE_EXCLUSIVE);
    EXPECT_EQ(user.transmit(), SCARD_S_SUCCESS);
    EXPECT_EQ(reset(virtualReader),
              "another program has the card for itself (SCARD_E_SHARING_VIOLATION): end that program\n");
}

// The module is one that p11-kit's configuration names.
TEST(Readers, AreShownWithoutAModuleToo)
{
    const PcscService service;
    VirtualCard card;
    card.waitUntilIdle();
    const Outcome found = tool({"readers"});
    expectLines(found, "0     Virtual PCD 00 00                               token cannot be read "
                       "(CKR_TOKEN_NOT_RECOGNIZED)\n");
    expectLines(found, "PC/SC readers\nVirtual PCD 00 00, with a card\n");
    EXPECT_EQ(found.status, 0);
}

} // namespace
