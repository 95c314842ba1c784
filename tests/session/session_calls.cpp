// SPDX-License-Identifier: Apache-2.0
#include "tests/session/session_calls.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

using Bytes = Scene::Bytes;

const Bytes alice = {0x01};

template <typename... Parameters, typename... Arguments>
void inSession(Scene& scene, void (*native)(JNIEnv*, jobject, jlong, jlong, Parameters...), Arguments... arguments)
{
    scene.call(native, scene.loaded, scene.session, arguments...);
}

template <typename... Parameters, typename... Arguments>
void inSession(Scene& scene, jbyteArray (*native)(JNIEnv*, jobject, jlong, jlong, Parameters...),
               Arguments... arguments)
{
    (void)scene.fetch(native, scene.loaded, scene.session, arguments...); // what it is: the tests of each native
}

jbyteArray texts(Scene& scene, std::initializer_list<const char*> texts)
{
    Bytes run;
    for (const char* text : texts)
        run.insert(run.end(), text, text + std::strlen(text) + 1);
    return scene.bytes(run);
}

std::optional<Bytes> keepShared(Scene& scene)
{
    const jobject object = scene.bytes("object");
    return scene.fetch(scene.natives.keepShared, object);
}

} // namespace

std::vector<SessionCall> allSessionCalls()
{
    return {
        {"load",
         [](Scene& scene, auto&, auto&) {
             const jlong again = scene.call(scene.natives.load, scene.bytes(scripted::moduleFile));
             if (again != 0)
                 scene.natives.unload(scene.java.get(), scene.java.call(), again);
         }},
        {"initialize", [](Scene& scene, auto&, auto&) { scene.call(scene.natives.initialize, scene.loaded); }},
        {"slots",
         [](Scene& scene, auto&, auto&) { (void)scene.fetch(scene.natives.slots, scene.loaded, jboolean{JNI_TRUE}); }},
        {"tokenInfo",
         [](Scene& scene, auto&, auto&) { (void)scene.fetch(scene.natives.tokenInfo, scene.loaded, jlong{7}); }},
        {"openSession",
         [](Scene& scene, auto&, auto&) { scene.call(scene.natives.openSession, scene.loaded, jlong{7}); }},
        {"login",
         [](Scene& scene, const Bytes& pin, auto&) {
             scene.call(scene.natives.login, scene.loaded, scene.session, jlong{CKU_USER}, scene.bytes(pin));
         },
         1},
        {"closeSession", [](Scene& scene, auto&, auto&) { inSession(scene, scene.natives.closeSession); }},
        {"changePin",
         [](Scene& scene, const Bytes& pin, const Bytes& newPin) {
             inSession(scene, scene.natives.changePin, scene.bytes(pin), scene.bytes(newPin));
         },
         2},
        {"initializeToken",
         [](Scene& scene, const Bytes& pin, auto&) {
             scene.call(scene.natives.initializeToken, scene.loaded, jlong{7}, scene.bytes(pin));
         },
         1},
        {"destroyObjects", [](Scene& scene, auto&, auto&) { inSession(scene, scene.natives.destroyObjects); }},
        {"listObjects", [](Scene& scene, auto&, auto&) { inSession(scene, scene.natives.listObjects); }},
        {"listCertificates", [](Scene& scene, auto&, auto&) { inSession(scene, scene.natives.listCertificates); }},
        {"readCertificate",
         [](Scene& scene, auto&, auto&) {
             inSession(scene, scene.natives.readCertificate, scene.bytes("alice"), scene.bytes(alice));
         }},
        {"readPublicKey",
         [](Scene& scene, auto&, auto&) {
             inSession(scene, scene.natives.readPublicKey, scene.bytes("alice"), scene.bytes(alice));
         }},
        {"importCertificate",
         [](Scene& scene, auto&, auto&) {
             inSession(scene, scene.natives.importCertificate, scene.bytes("carol"), scene.bytes(Bytes{3}),
                       scene.bytes(Bytes{0x30, 0}));
         }},
        {"importBlocks",
         [](Scene& scene, auto&, auto&) {
             inSession(scene, scene.natives.importBlocks, scene.bytes(Bytes{0x30, 0}), scene.bytes(Bytes{3}));
         }},
        {"generateRsaKeyPair",
         [](Scene& scene, auto&, auto&) {
             inSession(scene, scene.natives.generateRsaKeyPair, jlong{2048}, scene.bytes("carol"),
                       scene.bytes(Bytes{3}));
         }},
        {"generateGostKeyPair",
         [](Scene& scene, auto&, auto&) {
             inSession(scene, scene.natives.generateGostKeyPair, scene.bytes("carol"), scene.bytes(Bytes{3}));
         }},
        {"sign",
         [](Scene& scene, auto&, auto&) {
             inSession(scene, scene.natives.sign, scene.bytes("data"), scene.bytes(alice), scene.bytes(alice),
                       scene.java.byteArrays({alice}), jlong{5});
         }},
        {"verify",
         [](Scene& scene, auto&, auto&) {
             scene.call(scene.natives.verify, scene.loaded, scene.bytes("message"), scene.bytes("message"));
         }},
        {"createRequest",
         [](Scene& scene, auto&, auto&) {
             inSession(scene, scene.natives.createRequest, scene.bytes(alice), scene.bytes(alice),
                       texts(scene, {"CN", "Alice"}), jlong{2}, texts(scene, {"challengePassword", "none"}), jlong{2},
                       texts(scene, {"keyUsage", "critical", "digitalSignature"}), jlong{3});
         }},
        {"resetReader",
         [](Scene& scene, auto&, auto&) { scene.call(scene.natives.resetReader, scene.bytes("Scripted Reader 0")); }},
        {"awaitReaderChange",
         [](Scene& scene, auto&, auto&) {
             (void)scene.fetch(scene.natives.awaitReaderChange,
                               scene.java.byteArrays({scripted::bytesOf("Scripted Reader 0")}), scene.java.longs({2}),
                               jlong{50});
         }},
        {"keepShared", [](Scene& scene, auto&, auto&) { (void)keepShared(scene); }},
        {"findShared",
         [](Scene& scene, auto&, auto&) {
             if (const std::optional<Bytes> name = keepShared(scene))
                 scene.call(scene.natives.findShared, scene.bytes(*name));
         }},
        {"finish", [](Scene& scene, auto&, auto&) { scene.call(scene.natives.finish, scene.loaded); }},
    };
}

std::vector<SessionCall> sessionCallsWithSecrets()
{
    std::vector<SessionCall> chosen;
    const std::vector<SessionCall> all = allSessionCalls();
    std::copy_if(all.begin(), all.end(), std::back_inserter(chosen),
                 [](const SessionCall& call) { return call.secrets > 0; });
    return chosen;
}

SessionCall sessionCall(const std::string& name)
{
    const std::vector<SessionCall> all = allSessionCalls();
    const auto found = std::find_if(all.begin(), all.end(), [&](const SessionCall& call) { return call.name == name; });
    return found == all.end() ? SessionCall{} : *found;
}

void prepare(Scene& scene, const SessionCall& call)
{
    const std::string name = call.name;
    scene.module.addSampleObjects();
    if (name == "initialize" || name == "load") {
        scene.loaded = scene.call(scene.natives.load, scene.bytes(scripted::moduleFile));
        return;
    }
    scene.load();
    if (name == "initializeToken")
        return;
    scene.session = scene.call(scene.natives.openSession, scene.loaded, jlong{7});
    if (name != "login")
        scene.call(scene.natives.login, scene.loaded, scene.session, jlong{CKU_USER},
                   scene.bytes(scene.module.token.userPin));
}
