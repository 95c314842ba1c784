// SPDX-License-Identifier: Apache-2.0
import com.tovr.smartcard.vornixtoken.PcscReader;

import java.time.Duration;
import java.util.List;

/** Writes a line for each time that a card comes into the first reader or leaves it, three in all. */
public final class WatchReaders {
    private WatchReaders() {
    }

    public static void main(String[] args) throws Exception {
        List<PcscReader> readers = PcscReader.list();
        boolean present = tell(readers);
        for (int line = 1; line < 3; line++) {
            while (readers.get(0).isCardPresent() == present) {
                readers = PcscReader.awaitChange(readers, Duration.ofSeconds(20));
            }
            present = tell(readers);
        }
        List<PcscReader> unchanged = PcscReader.awaitChange(readers, Duration.ofMillis(100));
        System.out.println(unchanged.equals(readers) ? "nothing more" : "more: " + unchanged);
    }

    private static boolean tell(List<PcscReader> readers) {
        PcscReader reader = readers.get(0);
        System.out.println(reader.getName() + (reader.isCardPresent() ? ": card of " : ": no card, ")
                + reader.getAnswerToReset().length + " bytes");
        return reader.isCardPresent();
    }
}
