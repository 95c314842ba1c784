// SPDX-License-Identifier: Apache-2.0
package bench;

import java.util.ArrayList;
import java.util.List;
import java.util.function.Function;

/** Bindings for other languages, as far as this machine has them, each with an open session of its own. */
final class Peers implements AutoCloseable {
    private final List<Peer> peers = new ArrayList<>();

    Peers(String module, long slot, String pin) throws Exception {
        String folder = System.getProperty("bench.peers");
        start("PyKCS11", System.getProperty("bench.python"), folder + "/pykcs11_peer.py", module, slot, pin);
        start("pkcs11js", "node", folder + "/pkcs11js_peer.js", module, slot, pin);
    }

    private void start(String name, String interpreter, String script, String module, long slot, String pin)
            throws Exception {
        Peer peer = Peer.start(name, interpreter, script, module, slot, pin);
        if (peer != null) {
            peers.add(peer);
        }
    }

    /** Lets them all do a job in turn with others. */
    Turns join(Turns turns, Function<Peer, Turns.Contestant> job) {
        for (Peer peer : peers) {
            turns.with(peer.name, job.apply(peer));
        }
        return turns;
    }

    @Override
    public void close() {
        for (Peer peer : peers) {
            peer.close();
        }
    }
}
