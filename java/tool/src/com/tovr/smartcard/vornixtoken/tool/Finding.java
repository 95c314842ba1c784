// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import java.util.LinkedHashMap;
import java.util.Locale;
import java.util.Map;

/** One thing that the doctor found. */
final class Finding {
    final Level level;
    final String subject;
    final String message;
    /** What to do about it; null: nothing. */
    final String remedy;

    Finding(Level level, String subject, String message, String remedy) {
        this.level = level;
        this.subject = subject;
        this.message = message;
        this.remedy = remedy;
    }

    /** How bad it is. */
    enum Level {
        OK, NOTE, WARNING, PROBLEM;

        @Override
        public String toString() {
            return name().toLowerCase(Locale.ROOT);
        }
    }

    Map<String, Object> members() {
        Map<String, Object> members = new LinkedHashMap<>();
        members.put("level", level);
        members.put("subject", subject);
        members.put("message", message);
        members.put("remedy", remedy);
        return members;
    }
}
