// SPDX-License-Identifier: Apache-2.0
package recipes;

import com.sun.net.httpserver.HttpExchange;
import com.sun.net.httpserver.HttpServer;
import com.tovr.smartcard.vornixtoken.ObjectId;
import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.Reason;
import com.tovr.smartcard.vornixtoken.SignatureMode;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenSession;

import examples.Usage;

import java.io.FileInputStream;
import java.io.IOException;
import java.net.InetAddress;
import java.net.InetSocketAddress;
import java.time.Duration;
import java.util.Arrays;
import java.util.EnumSet;
import java.util.Set;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Semaphore;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.TimeoutException;
import java.util.concurrent.locks.ReentrantLock;

/**
 * Signs what is sent to {@code POST /sign}, for many clients at once, with one session and a PIN that stays in memory. Use
 * it where a program without a person signs for others: who waits for too long gets 503, a card that was taken out and
 * put back is opened again, and a PIN that was refused is wiped, so that no request can lock the card by trying it again.
 * It listens on this machine only, because whoever reaches it may sign.
 */
public final class SigningService implements AutoCloseable {
    private static final Duration PATIENCE = Duration.ofSeconds(10);
    private static final int MOST_REQUESTS = 32;
    private static final int LONGEST_DOCUMENT = 10 << 20;
    private static final int LONGEST_PIN = 255;
    private static final Set<Reason> PIN_REFUSED =
            EnumSet.of(Reason.WRONG_PIN, Reason.PIN_LOCKED, Reason.PIN_EXPIRED_OR_NOT_SET);
    private static final Set<Reason> LATER = EnumSet.of(Reason.WAITED_TOO_LONG, Reason.REMOVED, Reason.NO_TOKEN,
            Reason.NO_READER, Reason.IN_USE);

    private final Token token;
    private final Pin pin;
    private final ObjectId id;
    private final Duration patience;
    private final HttpServer server;
    private final ExecutorService threads = Executors.newCachedThreadPool();
    private final Semaphore places = new Semaphore(MOST_REQUESTS);
    private final ReentrantLock opening = new ReentrantLock(true);
    private TokenSession session;

    /** Serves until it is closed, and owns the PIN. A job waits no longer than the patience for each of its turns. */
    public SigningService(String module, String reader, Pin pin, ObjectId id, int port, Duration patience)
            throws IOException {
        token = Token.in(module).reader(reader).waitingAtMost(patience).build();
        this.pin = pin;
        this.id = id;
        this.patience = patience;
        server = HttpServer.create(new InetSocketAddress(InetAddress.getLoopbackAddress(), port), 0);
        server.setExecutor(threads);
        server.createContext("/sign", this::answer);
        server.start();
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(SigningService.class, arguments, "MODULE READER ID PORT PINFILE");
        SigningService service = new SigningService(arguments[0], arguments[1], firstLine(arguments[4]),
                ObjectId.parse(arguments[2]), Integer.parseInt(arguments[3]), PATIENCE);
        Runtime.getRuntime().addShutdownHook(new Thread(service::close));
    }

    public int port() {
        return server.getAddress().getPort();
    }

    /** Ends the service: nobody is served any more, the PIN is gone, and the token's login ends. */
    @Override
    public void close() {
        server.stop(0);
        threads.shutdown();
        pin.close();
        try {
            // A request that still runs ends before; a session cannot be closed while a call is inside the module.
            threads.awaitTermination(patience.toMillis(), TimeUnit.MILLISECONDS);
            if (session != null) {
                session.close();
            }
        } catch (Pkcs11Exception | InterruptedException failure) {
            System.err.println("the session stays open until the process ends: " + failure.getMessage());
        }
    }

    private void answer(HttpExchange exchange) throws IOException {
        boolean admitted = places.tryAcquire();
        try {
            byte[] document = exchange.getRequestBody().readNBytes(LONGEST_DOCUMENT + 1);
            if (!admitted) {
                answer(exchange, 503);
            } else if (!exchange.getRequestMethod().equals("POST")) {
                answer(exchange, 405);
            } else if (document.length > LONGEST_DOCUMENT) {
                answer(exchange, 413);
            } else {
                answer(exchange, 200, sign(document));
            }
        } catch (Pkcs11Exception refused) {
            System.err.println(refused.getMessage());
            answer(exchange, LATER.contains(refused.getReason()) ? 503 : 500);
        } catch (TimeoutException openedByAnother) {
            answer(exchange, 503);
        } catch (InterruptedException | IllegalStateException ending) {
            // The PIN was wiped, because it was refused or because the service ends.
            answer(exchange, 500);
        } finally {
            if (admitted) {
                places.release();
            }
            exchange.close();
        }
    }

    private static void answer(HttpExchange exchange, int status, byte... body) throws IOException {
        if (status == 503) {
            exchange.getResponseHeaders().set("Retry-After", "5");
        }
        exchange.getResponseHeaders().set("Content-Type", "application/pkcs7-signature");
        exchange.sendResponseHeaders(status, body.length == 0 ? -1 : body.length);
        exchange.getResponseBody().write(body);
    }

    private byte[] sign(byte[] document) throws Pkcs11Exception, InterruptedException, TimeoutException {
        try {
            return session().sign(document, id, SignatureMode.DETACHED);
        } catch (Pkcs11Exception failure) {
            if (failure.getReason() != Reason.REMOVED) {
                throw failure;
            }
            // The card was taken out since the last request. If it is back, a new session does the job.
            return session().sign(document, id, SignatureMode.DETACHED);
        }
    }

    /** Returns the session that all threads share. One thread opens it; the others wait no longer than for a job. */
    private TokenSession session() throws Pkcs11Exception, InterruptedException, TimeoutException {
        if (!opening.tryLock(patience.toMillis(), TimeUnit.MILLISECONDS)) {
            throw new TimeoutException();
        }
        try {
            if (session == null || !session.isOpen()) {
                session = token.open(pin);
            }
            return session;
        } catch (Pkcs11Exception failure) {
            if (PIN_REFUSED.contains(failure.getReason())) {
                pin.close();
            }
            throw failure;
        } finally {
            opening.unlock();
        }
    }

    /** Reads byte by byte, because larger pieces pass through memory that Java does not wipe. */
    private static Pin firstLine(String file) throws IOException {
        byte[] line = new byte[LONGEST_PIN];
        try (FileInputStream in = new FileInputStream(file)) {
            int length = 0;
            for (int next = in.read(); next >= ' ' && length < line.length; next = in.read()) {
                line[length++] = (byte) next;
            }
            return Pin.of(Arrays.copyOf(line, length));
        } finally {
            Arrays.fill(line, (byte) 0);
        }
    }
}
