// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.security.GeneralSecurityException;
import java.security.cert.CertificateEncodingException;
import java.security.cert.CertificateException;
import java.security.cert.X509Certificate;
import java.security.interfaces.RSAPublicKey;
import java.util.List;
import java.util.Objects;
import java.util.concurrent.atomic.AtomicInteger;

/** The session that {@link Token#open} makes. Each job waits for its turn on the slot. */
final class OpenSession implements TokenSession {
    private final Access access;
    private final LoadedModule module;
    private final long slot;
    private final SlotTurns turns;
    private final NativeSession session;
    /** A module may remember a card's objects, and not notice that the card has forgotten the login. */
    private final AtomicInteger resets;
    private final int resetsBefore;
    private volatile boolean closed;
    /** Why the session ended by itself; null: it did not. Written in a turn. */
    private volatile NativeFailure end;

    OpenSession(Access access, LoadedModule module, long slot, NativeSession session) {
        this.access = access;
        this.module = module;
        this.slot = slot;
        turns = new SlotTurns(module.shared.lock(slot));
        resets = module.shared.resets(slot);
        resetsBefore = resets.get();
        this.session = session;
    }

    @Override
    public TokenInfo readInfo() throws Pkcs11Exception {
        return run(new Job<>(() -> Token.READING_INFO, null,
                () -> (natives, handle, number) -> Token.info(natives, handle, slot)));
    }

    @Override
    public void changePin(Pin oldPin, Pin newPin) throws Pkcs11Exception {
        run(Jobs.changePin("PIN", oldPin, "oldPin", newPin, "newPin"));
    }

    @Override
    public void clean() throws Pkcs11Exception {
        run(Jobs.clean());
    }

    @Override
    public List<TokenObject> listObjects() throws Pkcs11Exception {
        return run(Jobs.listObjects());
    }

    @Override
    public List<TokenCertificate> listCertificates() throws Pkcs11Exception {
        return run(Jobs.listCertificates());
    }

    @Override
    public X509Certificate readCertificate(String label, byte[] id) throws Pkcs11Exception, CertificateException {
        return Jobs.certificate(readCertificateBytes(label, id));
    }

    @Override
    public byte[] readCertificateBytes(String label, byte[] id) throws Pkcs11Exception {
        return run(Jobs.readCertificate(label, id));
    }

    @Override
    public RSAPublicKey readPublicKey(String label, byte[] id) throws GeneralSecurityException {
        return Jobs.publicKey(run(Jobs.readPublicKey(label, id)));
    }

    @Override
    public void importCertificate(String label, byte[] id, X509Certificate certificate)
            throws Pkcs11Exception, CertificateEncodingException {
        Objects.requireNonNull(certificate, "certificate");
        importCertificate(label, id, certificate.getEncoded());
    }

    @Override
    public void importCertificate(String label, byte[] id, byte[] certificate) throws Pkcs11Exception {
        run(Jobs.importCertificate(label, id, certificate));
    }

    @Override
    public void importCertificateBlocks(byte[] first, byte[] second) throws Pkcs11Exception {
        run(Jobs.importBlocks(first, second));
    }

    @Override
    public void generateRsaKeyPair(int modulusBits, String label, byte[] id) throws Pkcs11Exception {
        run(Jobs.generateRsaKeyPair(modulusBits, label, id));
    }

    @Override
    public void generateGostKeyPair(String label, byte[] id) throws Pkcs11Exception {
        run(Jobs.generateGostKeyPair(label, id));
    }

    @Override
    public byte[] sign(byte[] data, byte[] certificateId, byte[] privateKeyId, long flags,
            byte[]... furtherCertificateIds) throws Pkcs11Exception {
        return run(Jobs.sign(data, certificateId, privateKeyId, flags, furtherCertificateIds));
    }

    @Override
    public void verify(byte[] firstInput, byte[] secondInput) throws Pkcs11Exception {
        run(new Job<Void>(() -> Token.VERIFYING, Token.VERIFY, () -> (natives, handle, number) -> {
            natives.verify(handle, firstInput, secondInput);
            return null;
        }));
    }

    @Override
    public byte[] createRequest(byte[] publicKeyId, byte[] privateKeyId, RequestContent content)
            throws Pkcs11Exception {
        return run(Jobs.createRequest(publicKeyId, privateKeyId, content));
    }

    private <T> T run(Job<T> job) throws Pkcs11Exception {
        Attempt attempt = access.begin();
        try {
            checkOpen();
            Job.Work<T> work = job.prepare();
            try (Turn turn = Turn.again(module, turns, attempt)) {
                checkOpen(turn);
                if (job.vendorFunction != null) {
                    turn.require(job.vendorFunction);
                }
                return run(turn, work);
            }
        } catch (NativeFailure failure) {
            throw access.refuse(attempt, failure, job.action);
        } finally {
            attempt.tell();
        }
    }

    private <T> T run(Turn turn, Job.Work<T> work) throws NativeFailure {
        try {
            return session.run(turn, work);
        } catch (NativeFailure failure) {
            if (session.isGone()) {
                end = ended(failure, "the token or its session is gone");
            } else if (failure.code == ReturnCodes.CKR_USER_NOT_LOGGED_IN) {
                end = ended(failure, "the login is gone: somebody in this process called C_Logout, or the card was reset");
            } else if (failure.code == ReturnCodes.CKR_DEVICE_ERROR) {
                end = ended(failure, "the card was reset, or it failed");
            } else {
                throw failure;
            }
            session.close(turn);
            throw end;
        }
    }

    private void checkOpen(Turn turn) throws NativeFailure {
        checkOpen();
        if (!turn.isOf(session.generation)) {
            end = new Refusal(Reason.REMOVED, ReturnCodes.CKR_SESSION_CLOSED,
                    "the session has ended: somebody finalised the module");
            throw end;
        }
        if (resets.get() != resetsBefore) {
            end = new Refusal(Reason.REMOVED, ReturnCodes.CKR_SESSION_CLOSED,
                    "the session has ended: the card was powered down by a reset of its reader");
            session.close(turn);
            throw end;
        }
    }

    private void checkOpen() throws NativeFailure {
        if (closed) {
            throw new IllegalStateException("the session is closed");
        }
        if (end != null) {
            throw end;
        }
    }

    private static Refusal ended(NativeFailure failure, String why) {
        return new Refusal(Reason.REMOVED, failure, "; the session has ended: " + why);
    }

    @Override
    public boolean isOpen() {
        return !closed && end == null;
    }

    @Override
    public void close() throws Pkcs11Exception {
        closed = true;
        Attempt attempt = access.begin();
        try (Turn turn = Turn.again(module, turns, attempt)) {
            if (turn.isOf(session.generation)) {
                session.close(turn);
            }
        } catch (NativeFailure failure) {
            throw access.refuse(attempt, failure, () -> "closing a session");
        } finally {
            attempt.tell();
        }
    }

    /** Returns the token's name, for people to read. */
    @Override
    public String toString() {
        return "session on " + access;
    }
}
