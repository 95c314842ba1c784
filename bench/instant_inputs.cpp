// SPDX-License-Identifier: Apache-2.0
#include "bench/calls.h"
#include "bench/instant_module.h"

InstantShape instantShape = usualShape;

Inputs instantInputs()
{
    Inputs in;
    in.module = INSTANT_MODULE;
    in.reader = "Reader 1";
    in.userPin.assign(8, '1');
    in.soPin.assign(8, '2');
    in.label = "object";
    in.id = {1, 2, 3, 4};
    in.certificate.assign(usualShape.bytes, 'c');
    in.data.assign(100, 'd');
    in.message.assign(usualShape.bytes, 'm');
    in.newLabel = in.label;
    in.newId = in.id;
    return in;
}
