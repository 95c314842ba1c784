// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import static org.junit.jupiter.api.Assertions.assertEquals;

import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.stream.Collectors;

/** The modules of a machine in a folder. */
class KnownModulesTest {
    private static final String PLATFORM = "usr/lib/x86_64-linux-gnu/pkcs11/";

    @TempDir
    Path root;

    @BeforeEach
    void makeMachine() throws IOException {
        for (String file : Arrays.asList(PLATFORM + "a.so", PLATFORM + "p11-kit-proxy.so", PLATFORM + "pkcs11-spy.so",
                PLATFORM + "notes.txt", "usr/local/lib/pkcs11/b.so", "opt/c.so")) {
            write(file);
        }
        Files.createSymbolicLink(root.resolve(PLATFORM + "z.so"), root.resolve(PLATFORM + "a.so"));
    }

    @Test
    void theUsualFoldersAreSearchedAndAFileCountsOnce() {
        assertEquals(Arrays.asList("usr/local/lib/pkcs11/b.so", PLATFORM + "a.so"), found());
    }

    @Test
    void aLineOfP11KitsConfigurationNamesAFileOrOneInAUsualFolder() throws IOException {
        write("home/pkcs11/modules/mine.module", "# mine", " module :" + root.resolve("opt/c.so") + " ");
        write("etc/pkcs11/modules/theirs.module", "trust-policy: no", "module: a.so");
        write("etc/pkcs11/modules/unused", "module: /nonexistent");

        assertEquals(Arrays.asList("opt/c.so", PLATFORM + "a.so", "usr/local/lib/pkcs11/b.so"), found());
        assertEquals(Collections.singletonList(root.resolve("etc/pkcs11/modules/theirs.module")),
                modules().entriesFor(root.resolve(PLATFORM + "z.so").toString()));
    }

    @Test
    void aModuleThatRunsInAProcessOfItsOwnIsNamedToo() throws IOException {
        write("usr/share/p11-kit/modules/remote.module", "remote: |p11-kit remote " + root.resolve("opt/c.so"));

        assertEquals("opt/c.so", found().get(0));
    }

    @Test
    void anEmptyMachineHasNone(@TempDir Path empty) {
        assertEquals(0, new KnownModules(empty, empty).find().size());
    }

    private List<String> found() {
        return modules().find().stream().map(each -> root.relativize(root.resolve(each.file)).toString())
                .collect(Collectors.toList());
    }

    private KnownModules modules() {
        return new KnownModules(root, root.resolve("home"));
    }

    private void write(String file, String... lines) throws IOException {
        Files.createDirectories(root.resolve(file).getParent());
        Files.write(root.resolve(file), Arrays.asList(lines));
    }
}
