// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

/** The search for an object by its label. */
final class Search {
    private Search() {
    }

    /** Reads the object with this label. */
    interface Read<T> {
        T on(NativeCall natives, long module, long session, byte[] label) throws NativeFailure;
    }

    /** Encodes the label and makes the search ready. */
    static <T> Job.Work<T> by(String label, Read<T> read) throws Refusal {
        byte[] name = Texts.encode(label);
        return Texts.hasPairs(label)
                ? inBothEncodings(name, Texts.encodeHalves(label), read)
                : (natives, module, session) -> read.on(natives, module, session, name);
    }

    /** The older natives write a label with a character beyond U+FFFF in another way than all others. */
    private static <T> Job.Work<T> inBothEncodings(byte[] name, byte[] older, Read<T> read) {
        return (natives, module, session) -> {
            try {
                return read.on(natives, module, session, name);
            } catch (NativeFailure failure) {
                if (failure.reason() != Reason.NO_SUCH_OBJECT) {
                    throw failure;
                }
                return read.on(natives, module, session, older);
            }
        };
    }
}
