// SPDX-License-Identifier: Apache-2.0
// A shared object that is no PKCS #11 module: it lacks C_GetFunctionList.
extern "C" __attribute__((visibility("default"))) int notAModule(void)
{
    return 0;
}
