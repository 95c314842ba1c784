// SPDX-License-Identifier: Apache-2.0
#include "softtoken/turn.h"

#include "softtoken/failure.h"
#include "softtoken/opened_store.h"
#include "softtoken/recovery.h"
#include "softtoken/reopening.h"

namespace softtoken {

Turn::Turn(const CK_FUNCTION_LIST& softHsm)
{
    OpenedStore& store = openedStore();
    require(store.isOpen(), CKR_CRYPTOKI_NOT_INITIALIZED);
    if (!store.lock.acquire())
        store.mustReadAgain();
    try {
        if (store.lock.record.writing != 0) {
            (void)recover(store.folder()); // the record's numbers tell who must read again
            store.lock.record.writing = 0;
            store.lock.save();
        }
        if (!store.knowsToken())
            reopen(softHsm);
    } catch (...) {
        store.lock.release();
        throw;
    }
}

Turn::~Turn()
{
    openedStore().lock.release();
}

} // namespace softtoken
