// SPDX-License-Identifier: Apache-2.0
package bench;

/** Jobs of an open session beside those of the peers. */
final class SideBySide {
    private final Peers peers;
    private final int ours;
    private final int theirs;
    private final int rounds;

    /** Repeats a job so many times in each round. */
    SideBySide(Peers peers, int ours, int theirs, int rounds) {
        this.peers = peers;
        this.ours = ours;
        this.theirs = theirs;
        this.rounds = rounds;
    }

    /** One job as the session does it. */
    Turns job(String name, Turns.Work work) {
        return new Turns(name).with("session", Turns.repeated(ours, work));
    }

    /** Lets the peers do it too, and prints a row for each contestant. */
    void take(Turns turns, String job) throws Exception {
        peers.join(turns, peer -> peer.repeating(theirs, job)).take(rounds / 2, rounds);
    }

    void take(String name, Turns.Work work, String job) throws Exception {
        take(job(name, work), job);
    }
}
