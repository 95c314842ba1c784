// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.util.function.Supplier;

/** One job for a session. Its arguments are checked when it is made, but not yet encoded. */
final class Job<T> {
    /** What it does, in words. They are put together only when somebody asks. */
    final Supplier<String> action;
    /** The function beyond PKCS #11 that it needs; null: none. */
    final String vendorFunction;
    private final Preparation<T> preparation;

    Job(Supplier<String> action, String vendorFunction, Preparation<T> preparation) {
        this.action = action;
        this.vendorFunction = vendorFunction;
        this.preparation = preparation;
    }

    /** Encodes the arguments. */
    interface Preparation<T> {
        Work<T> prepare() throws Refusal;
    }

    /** Does the job. */
    interface Work<T> {
        T on(NativeCall natives, long module, long session) throws NativeFailure;
    }

    /** Makes the job ready, before anything is called. */
    Work<T> prepare() throws Refusal {
        return preparation.prepare();
    }
}
