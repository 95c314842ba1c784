// SPDX-License-Identifier: Apache-2.0
// A JNI function table in which every entry fails the running test by its name and answers with nothing.
#pragma once

#include <jni.h>

JNINativeInterface_ refusingFunctionTable();
