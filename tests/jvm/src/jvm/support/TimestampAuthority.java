// SPDX-License-Identifier: Apache-2.0
package jvm.support;

import com.sun.net.httpserver.HttpExchange;
import com.sun.net.httpserver.HttpServer;

import java.io.IOException;
import java.net.InetAddress;
import java.net.InetSocketAddress;
import java.net.URI;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.function.UnaryOperator;

/** OpenSSL as a timestamping authority on this machine, certified by the {@link Authority} of the same folder. */
public final class TimestampAuthority implements AutoCloseable {
    private final Path folder;
    private final UnaryOperator<byte[]> query;
    private final HttpServer server;

    public TimestampAuthority(Path folder) throws IOException, InterruptedException {
        this(folder, query -> query);
    }

    /** @param query turns each query into what is answered in its place */
    public TimestampAuthority(Path folder, UnaryOperator<byte[]> query) throws IOException, InterruptedException {
        this.folder = folder;
        this.query = query;
        Files.write(folder.resolve("tsa.cnf"), Arrays.asList(
                "[extensions]", "extendedKeyUsage = critical,timeStamping", "keyUsage = critical,digitalSignature",
                "[tsa]", "default_tsa = authority",
                "[authority]", "serial = " + folder.resolve("serial"), "signer_digest = sha256",
                "default_policy = 1.2.3.4", "digests = sha256", "ess_cert_id_alg = sha256"));
        Processes.run("openssl", "req", "-newkey", "rsa:1024", "-nodes", "-subj", "/CN=Clock",
                "-keyout", file("tsa.key"), "-out", file("tsa.csr"));
        Processes.run("openssl", "x509", "-req", "-in", file("tsa.csr"), "-CA", file("ca.pem"),
                "-CAkey", file("ca.key"), "-extfile", file("tsa.cnf"), "-extensions", "extensions",
                "-out", file("tsa.pem"));
        server = HttpServer.create(new InetSocketAddress(InetAddress.getLoopbackAddress(), 0), 0);
        server.createContext("/", this::answer);
        server.start();
    }

    public URI url() {
        return URI.create("http://localhost:" + server.getAddress().getPort() + "/");
    }

    @Override
    public void close() {
        server.stop(0);
    }

    private void answer(HttpExchange exchange) throws IOException {
        Files.write(folder.resolve("query"), query.apply(exchange.getRequestBody().readAllBytes()));
        try {
            Processes.run("openssl", "ts", "-reply", "-config", file("tsa.cnf"), "-queryfile", file("query"),
                    "-signer", file("tsa.pem"), "-inkey", file("tsa.key"), "-out", file("reply"));
        } catch (InterruptedException end) {
            throw new IOException(end);
        }
        byte[] reply = Files.readAllBytes(folder.resolve("reply"));
        exchange.sendResponseHeaders(200, reply.length);
        exchange.getResponseBody().write(reply);
        exchange.close();
    }

    private String file(String name) {
        return folder.resolve(name).toString();
    }
}
