// SPDX-License-Identifier: Apache-2.0
#include "tests/session/scene.h"

Scene::~Scene()
{
    if (loaded == 0)
        return;
    call(natives.unload, loaded);
    EXPECT_EQ(story, "module unloaded\n") << "the file is still in use";
}

void Scene::load()
{
    loaded = call(natives.load, bytes(scripted::moduleFile));
    EXPECT_EQ(call(natives.initialize, loaded), 0);
    EXPECT_EQ(thrown + told, "");
}

void Scene::open()
{
    load();
    session = call(natives.openSession, loaded, jlong{7});
    EXPECT_EQ(call(natives.login, loaded, session, jlong{CKU_USER}, bytes(module.token.userPin)), JNI_TRUE);
    EXPECT_EQ(thrown + told, "");
}

void Scene::begin()
{
    transcript.clear();
    java.resetReferences();
    java.reports.clear();
    java.exception.clear();
}

void Scene::end(const std::string& printed)
{
    EXPECT_EQ(printed, "");
    EXPECT_LE(java.mostReferences(), 16u) << "more references than a virtual machine has to have room for";
    EXPECT_LE(java.reports.size(), 1u);
    story = transcript.calls();
    thrown = java.exception;
    java.exception.clear();
    told.clear();
    for (const StrictJniEnv::Report& report : java.reports)
        told += report.step ? failure(static_cast<CK_RV>(report.code), *report.step, report.lines) : report.lines;
}

std::string failure(CK_RV code, const std::string& step, const std::string& lines)
{
    return scripted::codeName(code) + " in " + step + "\n" + lines;
}

namespace {

std::uint64_t bigEndian(const Scene::Bytes& bytes, std::size_t at, std::size_t width)
{
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < width; ++i)
        value = value << 8 | bytes.at(at + i);
    return value;
}

} // namespace

std::vector<std::string> fieldsOf(const std::optional<Scene::Bytes>& packed)
{
    std::vector<std::string> fields;
    if (!packed) {
        ADD_FAILURE() << "no result";
        return fields;
    }
    for (std::size_t at = 0; at < packed->size();) {
        const std::uint64_t length = bigEndian(*packed, at, 4);
        at += 4;
        if (length > packed->size() - at) {
            ADD_FAILURE() << "a field that is longer than what is left";
            return fields;
        }
        fields.emplace_back(packed->begin() + static_cast<std::ptrdiff_t>(at),
                            packed->begin() + static_cast<std::ptrdiff_t>(at + length));
        at += length;
    }
    return fields;
}

std::string numberField(CK_ULONG number)
{
    std::string field;
    for (int shift = 56; shift >= 0; shift -= 8)
        field += static_cast<char>(number >> shift);
    return field;
}
