// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.Reader;
import com.tovr.smartcard.vornixtoken.ReturnCodes;
import com.tovr.smartcard.vornixtoken.TokenInfo;
import com.tovr.smartcard.vornixtoken.TokenInfo.Flag;

import java.util.ArrayList;
import java.util.Arrays;
import java.util.EnumSet;
import java.util.Iterator;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.stream.Collectors;

/** A slot of a module, as a child process has found it. */
final class FoundReader {
    final String slot;
    final String name;
    final String manufacturer;
    final boolean tokenPresent;
    /** The name of the module's code where it could not describe the token; empty where it could, or there is none. */
    final String tokenCodeName;
    final String label;
    final String model;
    final String serialNumber;
    final Set<Flag> flags;

    /** Reads what {@link #words} wrote. */
    FoundReader(Iterator<String> words) {
        slot = words.next();
        name = words.next();
        manufacturer = words.next();
        tokenPresent = Boolean.parseBoolean(words.next());
        tokenCodeName = words.next();
        label = words.next();
        model = words.next();
        serialNumber = words.next();
        flags = EnumSet.noneOf(Flag.class);
        words.forEachRemaining(flag -> flags.add(Flag.valueOf(flag)));
    }

    /** What there is to know of a reader, in words. */
    static List<String> words(Reader reader) {
        TokenInfo token = reader.getToken().orElse(null);
        List<String> words = new ArrayList<>(Arrays.asList(Long.toUnsignedString(reader.getSlot()), reader.getName(),
                reader.getManufacturer(), String.valueOf(reader.isTokenPresent()),
                reader.isTokenPresent() && token == null ? ReturnCodes.name(reader.getTokenCode()) : "",
                token == null ? "" : token.getLabel(), token == null ? "" : token.getModel(),
                token == null ? "" : token.getSerialNumber()));
        if (token != null) {
            token.getFlags().forEach(flag -> words.add(flag.name()));
        }
        return words;
    }

    /** How it stands with the token, in a few words. */
    String state() {
        if (!tokenPresent) {
            return "no token";
        }
        if (!isReadable()) {
            return "token cannot be read (" + tokenCodeName + ")";
        }
        if (isBlank()) {
            return "blank";
        }
        PinState puk = pukState();
        return "PIN " + pinState() + (puk == PinState.READY ? "" : ", PUK " + puk);
    }

    /** Whether there is a token that was never initialised. */
    boolean isBlank() {
        return isReadable() && !flags.contains(Flag.TOKEN_INITIALIZED);
    }

    boolean isReadable() {
        return tokenPresent && tokenCodeName.isEmpty();
    }

    PinState pinState() {
        return PinState.ofPin(flags);
    }

    PinState pukState() {
        return PinState.ofPuk(flags);
    }

    List<String> row() {
        return Arrays.asList(slot, name, label, model, serialNumber, state());
    }

    Map<String, Object> members() {
        Map<String, Object> members = new LinkedHashMap<>();
        members.put("slot", Long.parseUnsignedLong(slot));
        members.put("name", name);
        members.put("manufacturer", manufacturer);
        members.put("tokenPresent", tokenPresent);
        members.put("state", state());
        if (isReadable()) {
            members.put("label", label);
            members.put("model", model);
            members.put("serialNumber", serialNumber);
            members.put("flags", flags.stream().map(Flag::name).collect(Collectors.toList()));
        }
        return members;
    }

    @Override
    public String toString() {
        return "'" + name + "' (slot " + slot + ")";
    }
}
