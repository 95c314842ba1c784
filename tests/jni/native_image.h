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

/// Those of a RecordingJniEnv's story. ThrowNew finds the constructor that takes the message.
[[nodiscard]] LookUps lookUpsOf(const std::string& story);

/// The file jni-config.json that declares them.
[[nodiscard]] std::string configurationOf(const LookUps& lookUps);

/// The one that the jars have for a library.
[[nodiscard]] std::string declaredFor(const std::string& library);

} // namespace native_image
