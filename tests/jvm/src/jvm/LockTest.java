// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import jvm.programs.ManyThreads;
import jvm.support.ChildJvm;
import jvm.support.Result;
import jvm.support.SoftHsm;

import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

import java.nio.file.Path;

/** Why callers of the native methods need a lock of their own. */
@Tag("long")
class LockTest {
    private static final int ATTEMPTS = 5;

    @Test
    void withoutItThreadsTakeTheModuleFromEachOther(@TempDir Path folder) throws Exception {
        int failed = 0;
        for (int i = 0; i < ATTEMPTS && failed == 0; i++) {
            String reader = SoftHsm.newToken(); // calls at once may ruin it
            Result facade = run(folder, "facade", reader);
            assertEquals(0, facade.status, facade::toString);
            failed += run(folder, "natives", reader).status == 0 ? 0 : 1;
        }
        assertTrue(failed > 0, "calls at once did no harm");
    }

    private static Result run(Path folder, String how, String reader) throws Exception {
        return new ChildJvm()
                .options("-Dvornix.softhsm.module=" + SoftHsm.MODULE, "-XX:-CreateCoredumpOnCrash",
                        "-XX:ErrorFile=" + folder.resolve("crash"))
                .run(ManyThreads.class, how, reader);
    }
}
