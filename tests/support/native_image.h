// SPDX-License-Identifier: Apache-2.0
// What GraalVM's native-image is told of a library: every class and method that the library looks up by JNI.
#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>

namespace native_image {

/// By class, methods as name and signature; all as JNI writes them.
using LookUps = std::map<std::string, std::set<std::pair<std::string, std::string>>>;

/// What ThrowNew looks up in the class that it throws: the constructor that takes the message.
inline const std::pair<std::string, std::string> thrownConstructor = {"<init>", "(Ljava/lang/String;)V"};

/// The file jni-config.json that declares them.
[[nodiscard]] std::string configurationOf(const LookUps& lookUps);

/// The one that the jars have for a library.
[[nodiscard]] std::string declaredFor(const std::string& library);

} // namespace native_image
