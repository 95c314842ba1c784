package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

import java.nio.file.Path;

class ClassLoadersTest {
    @Test
    void copiesOfTheClassesWaitForOneAnother(@TempDir Path empty) throws Exception {
        ChildJvm child = new ChildJvm(empty.toString()).options("-XX:ErrorFile=" + empty.resolve("crash"));
        if (Runtime.version().feature() >= 24) {
            child.options("--enable-native-access=ALL-UNNAMED");
        }

        ChildJvm.Result result = child.run(TwoClassLoaders.class, System.getProperty("vornix.platform.jar"),
                SoftHsm.MODULE, SoftHsm.newToken(), SoftHsm.PIN);

        assertEquals(0, result.status, result::toString);
        assertEquals("", result.out);
    }
}
