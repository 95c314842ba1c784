// SPDX-License-Identifier: Apache-2.0
// The shape of the instant module where a virtual machine loads it, which has no variable for it.
#include "bench/instant_module.h"

InstantShape instantShape = {3, 102, 1000};
