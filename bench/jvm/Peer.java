// SPDX-License-Identifier: Apache-2.0
package bench;

import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.io.PrintWriter;
import java.nio.charset.StandardCharsets;

/** A binding for another language, in a process that keeps its session open and times the jobs it is told. */
final class Peer implements AutoCloseable {
    final String name;
    private final Process process;
    private final BufferedReader answers;
    private final PrintWriter requests;

    private Peer(String name, Process process) {
        this.name = name;
        this.process = process;
        answers = new BufferedReader(new InputStreamReader(process.getInputStream(), StandardCharsets.UTF_8));
        requests = new PrintWriter(process.getOutputStream(), true);
    }

    /** Starts a peer, or says that it is left out: not every machine has it. */
    static Peer start(String name, String interpreter, String script, String module, long slot, String pin)
            throws IOException {
        ProcessBuilder builder = new ProcessBuilder(interpreter, script, module, Long.toString(slot), pin);
        Peer peer = new Peer(name, builder.redirectError(ProcessBuilder.Redirect.INHERIT).start());
        if ("ready".equals(peer.answers.readLine())) {
            return peer;
        }
        peer.close();
        System.out.println("left out: " + name);
        return null;
    }

    /** Lets the peer repeat a job and tell the microseconds of one. */
    Turns.Contestant repeating(int times, String job) {
        return () -> {
            requests.println(times + " " + job);
            return Double.parseDouble(answers.readLine());
        };
    }

    @Override
    public void close() {
        requests.close();
        process.destroy();
    }
}
