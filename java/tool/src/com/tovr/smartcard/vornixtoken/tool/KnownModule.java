// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import java.util.ArrayList;
import java.util.List;

/** A module's file, and who names it. */
final class KnownModule {
    final String file;
    /** Where the name stands, for people to read; empty: the user gave it. */
    final List<String> sources = new ArrayList<>();

    KnownModule(String file) {
        this.file = file;
    }

    boolean isNamedByUser() {
        return sources.isEmpty();
    }
}
