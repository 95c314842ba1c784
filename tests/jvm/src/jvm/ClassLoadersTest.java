// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;

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
        Result result = new ChildJvm(empty.toString()).grant("ALL-UNNAMED")
                .options("-XX:ErrorFile=" + empty.resolve("crash"))
                .run(TwoClassLoaders.class, System.getProperty("vornix.platform.jar"),
                        SoftHsm.MODULE, SoftHsm.newToken(), SoftHsm.PIN);

        assertEquals(0, result.status, result::toString);
        assertEquals("", result.out);
    }
}
