// SPDX-License-Identifier: Apache-2.0
package jvm.support;

import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.io.TempDir;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.nio.file.StandardCopyOption;
import java.util.Arrays;

/** Gives each test an untouched token: the scripted module keeps its state for each file that it is loaded from. */
public abstract class ScriptedToken {
    protected static final String READER = Scripted.READER;
    protected static final byte[] PIN = Scripted.PIN;
    protected static final byte[] SO_PIN = Scripted.SO_PIN;
    protected static final byte[] WRONG_PIN = Scripted.WRONG_PIN;
    protected static final byte[] NONE = Scripted.NONE;

    protected String module;

    @BeforeAll
    protected static void loadLibrary() {
        System.loadLibrary("VornixToken_Javalib");
    }

    @BeforeEach
    protected void copyModule(@TempDir Path folder) throws IOException {
        module = Files.copy(Paths.get(Scripted.MODULE), folder.resolve("module.so")).toString();
    }

    /** Tells the module what it answers from its next call on; without lines, what it does by itself. */
    protected void order(String... lines) throws IOException {
        Path orders = Paths.get(module + ".orders");
        Path written = Files.write(orders.resolveSibling("written"), Arrays.asList(lines));
        Files.move(written, orders, StandardCopyOption.ATOMIC_MOVE);
    }
}
