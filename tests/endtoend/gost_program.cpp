// SPDX-License-Identifier: Apache-2.0
#include "tests/endtoend/gost_program.h"

namespace endtoend {
namespace {

#ifdef GOST_ENGINE_FILE
class Engine : public GostProgram {
public:
    Engine() : GostProgram("OpenSslEngine") {}

    Outcome verifyRequest(const Folder& folder) const override
    {
        return openssl(folder, {"req", "-inform", "DER", "-in", "request.der", "-verify", "-noout"});
    }

    Outcome issue(const Folder& folder) const override
    {
        return openssl(folder, {"x509", "-req", "-inform", "DER", "-in", "request.der", "-CA", "ca.pem", "-CAkey",
                                "ca.key", "-CAcreateserial", "-outform", "DER", "-out", "issued.der"});
    }

    Outcome verifyMessage(const Folder& folder, const std::string& detached) const override
    {
        std::vector<std::string> arguments = {"cms", "-verify",     "-binary", "-inform", "DER",
                                              "-in", "message.der", "-CAfile", "ca.pem",  "-purpose",
                                              "any", "-out",        "verified"};
        if (!detached.empty())
            arguments.insert(arguments.end(), {"-content", detached});
        return openssl(folder, std::move(arguments));
    }

    Outcome makeSigner(const Folder& folder) const override
    {
        return openssl(folder, {"req", "-x509", "-newkey", "gost2001", "-pkeyopt", "paramset:A", "-nodes", "-subj",
                                "/CN=Engine", "-keyout", "own.key", "-out", "own.pem"});
    }

    Outcome signMessage(const Folder& folder, Attributes attributes) const override
    {
        std::vector<std::string> arguments = {"cms",     "-sign",  "-binary", "-nodetach", "-in", "content", "-signer",
                                              "own.pem", "-inkey", "own.key", "-outform",  "DER", "-out",    "own.der"};
        if (attributes == Attributes::None)
            arguments.emplace_back("-noattr");
        return openssl(folder, std::move(arguments));
    }

private:
    static Outcome openssl(const Folder& folder, std::vector<std::string> arguments)
    {
        folder.write("gost.cnf", bytes("openssl_conf = init\n[init]\nengines = engines\n[engines]\ngost = gost\n"
                                       "[gost]\nengine_id = gost\ndynamic_path = " GOST_ENGINE_FILE
                                       "\ndefault_algorithms = ALL\n[req]\ndistinguished_name = subject\n[subject]\n"));
        arguments.insert(arguments.begin(), {"env", "OPENSSL_CONF=gost.cnf", OPENSSL_PROGRAM});
        return run(folder, std::move(arguments));
    }
};
#endif

#ifdef GOST_JUDGE_JAR
class BouncyCastle : public GostProgram {
public:
    BouncyCastle() : GostProgram("BouncyCastle") {}

    Outcome verifyRequest(const Folder& folder) const override
    {
        return judge(folder, {"verify-request", "request.der"});
    }

    Outcome issue(const Folder& folder) const override
    {
        return judge(folder, {"issue", "request.der", "ca.pem", "ca.key", "issued.der"});
    }

    Outcome verifyMessage(const Folder& folder, const std::string& detached) const override
    {
        std::vector<std::string> arguments = {"verify-message", "message.der", "ca.pem", "verified"};
        if (!detached.empty())
            arguments.push_back(detached);
        return judge(folder, std::move(arguments));
    }

    Outcome makeSigner(const Folder& folder) const override
    {
        return judge(folder, {"make-signer", "own.key", "own.pem"});
    }

    Outcome signMessage(const Folder& folder, Attributes attributes) const override
    {
        return judge(folder, {"sign-message", attributes == Attributes::None ? "bare" : "attributes", "content",
                              "own.pem", "own.key", "own.der"});
    }

private:
    static Outcome judge(const Folder& folder, std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(),
                         {JAVA_PROGRAM, "-XX:TieredStopAtLevel=1", "-XX:+UseSerialGC", "-jar", GOST_JUDGE_JAR});
        return run(folder, std::move(arguments));
    }
};
#endif

} // namespace

const std::vector<const GostProgram*>& gostPrograms()
{
#ifdef GOST_ENGINE_FILE
    static const Engine engine;
#endif
#ifdef GOST_JUDGE_JAR
    static const BouncyCastle bouncyCastle;
#endif
    static const std::vector<const GostProgram*> all = {
#ifdef GOST_ENGINE_FILE
        &engine,
#endif
#ifdef GOST_JUDGE_JAR
        &bouncyCastle,
#endif
    };
    return all;
}

} // namespace endtoend
