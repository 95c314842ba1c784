// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.util.Objects;

/** A job that looks for an object by label and ID. */
final class Search<T> {
    private final String kind;
    private final String label;
    private final Read<T> read;

    Search(String kind, String label, byte[] id, Read<T> read) {
        this.kind = kind;
        this.label = Objects.requireNonNull(label, "label");
        Objects.requireNonNull(id, "id");
        this.read = read;
    }

    /** Reads the object with this label. */
    interface Read<T> {
        T on(NativeCall natives, long module, long session, byte[] label) throws NativeFailure;
    }

    Job<T> job() {
        return new Job<>(() -> "reading " + kind + " '" + label + "'", null, () -> {
            byte[] name = Texts.encode(label);
            return Texts.hasPairs(label)
                    ? inBothEncodings(name, Texts.encodeHalves(label))
                    : (natives, module, session) -> read.on(natives, module, session, name);
        });
    }

    /** The older natives write a label with a character beyond U+FFFF in another way than all others. */
    private Job.Work<T> inBothEncodings(byte[] name, byte[] older) {
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
