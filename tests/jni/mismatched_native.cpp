// SPDX-License-Identifier: Apache-2.0
// Does not compile: a native method whose arguments are not what its operation takes. The frame says so in one message.
#include "jni/native_frame.h"

jlong mismatched(JNIEnv* env, jstring terminalName, jstring modulePath, jstring label)
{
    return runOnToken(env, TerminalName{terminalName}, ModulePath{modulePath}, &P11Wrapper::CleanCard, Text(label));
}
