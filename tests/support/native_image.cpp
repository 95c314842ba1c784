// SPDX-License-Identifier: Apache-2.0
#include "tests/support/native_image.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>

namespace native_image {
namespace {

std::string withDots(std::string name)
{
    std::replace(name.begin(), name.end(), '/', '.');
    return name;
}

std::string typeOf(const std::smatch& parameter)
{
    static const std::map<std::string, std::string> primitives = {{"B", "byte"}, {"J", "long"}};
    const std::string name = parameter[2];
    const std::string type = name.size() == 1 ? primitives.at(name) : withDots(name.substr(1, name.size() - 2));
    return '"' + type + (parameter[1].matched ? "[]" : "") + '"';
}

std::string parameterTypes(const std::string& signature)
{
    static const std::regex parameter(R"((\[)?(L[^;]*;|[A-Z]))");
    const std::string parameters = signature.substr(1, signature.find(')') - 1);
    std::string types;
    for (std::sregex_iterator at(parameters.begin(), parameters.end(), parameter), end; at != end; ++at)
        types += (types.empty() ? "" : ", ") + typeOf(*at);
    return '[' + types + ']';
}

} // namespace

std::string configurationOf(const LookUps& lookUps)
{
    std::string text;
    for (const auto& [owner, methods] : lookUps) {
        std::string lines;
        for (const auto& [name, signature] : methods)
            lines += (lines.empty() ? "" : ",\n") + std::string("      { \"name\": \"") + name +
                     "\", \"parameterTypes\": " + parameterTypes(signature) + " }";
        text += (text.empty() ? "" : ",\n") + std::string("  {\n    \"name\": \"") + withDots(owner) +
                "\",\n    \"methods\": [\n" + lines + "\n    ]\n  }";
    }
    return "[\n" + text + "\n]\n";
}

std::string declaredFor(const std::string& library)
{
    std::ifstream file(NATIVE_IMAGE_FOLDER "/" + library + "/jni-config.json");
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace native_image
