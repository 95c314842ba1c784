// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;

import jvm.programs.SessionBesideAnotherLoader;
import jvm.programs.TwoClassLoaders;
import jvm.support.ChildJvm;
import jvm.support.Result;
import jvm.support.SoftHsm;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

import java.nio.file.Path;

class ClassLoadersTest {
    @Test
    void copiesOfTheClassesWaitForOneAnother(@TempDir Path empty) throws Exception {
        assertPrints("", TwoClassLoaders.class, empty);
    }

    @Test
    void noCopyUnloadsAModuleUnderAnothersSession(@TempDir Path empty) throws Exception {
        assertPrints("listed 0\nunloading: IN_USE\nlisted 0\nsession true 0\nunloading: done\nlisted 0\n",
                SessionBesideAnotherLoader.class, empty);
    }

    private static void assertPrints(String output, Class<?> program, Path empty) throws Exception {
        Result result = new ChildJvm(empty.toString()).grant("ALL-UNNAMED")
                .options("-XX:ErrorFile=" + empty.resolve("crash"))
                .run(program, System.getProperty("vornix.platform.jar"), SoftHsm.MODULE, SoftHsm.newToken(),
                        SoftHsm.PIN);

        assertEquals(0, result.status, result::toString);
        assertEquals(output, result.out);
    }
}
