// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.InvalidPathException;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.Arrays;
import java.util.HashMap;
import java.util.Map;

/** A module's file, loaded once by these classes and kept until {@link #unload}. */
final class LoadedModule {
    /** Set to true or false, it answers for the module. */
    private static final String VENDOR_FUNCTIONS = "vornixtoken.vendorFunctions";

    private static final Map<String, LoadedModule> LOADED = new HashMap<>();
    private static final String SOFTHSM = "libsofthsm2.so";
    private static final byte[] ELF = {0x7f, 'E', 'L', 'F'};

    /** What the natives call it. */
    final long handle;
    final SharedModule shared;
    private volatile boolean unloaded;
    /** Not known yet: null. */
    private volatile Boolean vendorFunctions;

    private LoadedModule(long handle, SharedModule shared) {
        this.handle = handle;
        this.shared = shared;
    }

    /** Returns the module of a file, loaded. */
    static LoadedModule of(String path, Attempt attempt) throws NativeFailure {
        synchronized (LOADED) {
            LoadedModule module = LOADED.get(path);
            if (module == null) {
                module = load(path, attempt);
                LOADED.put(path, module);
            }
            return module;
        }
    }

    private static LoadedModule load(String path, Attempt attempt) throws NativeFailure {
        byte[] name = Texts.encodeWithoutNul(path);
        try {
            long handle = attempt.call(natives -> natives.load(name));
            long functionList = attempt.call(natives -> natives.functionList(handle));
            return new LoadedModule(handle, SharedModule.at(functionList, path));
        } catch (NativeFailure failure) {
            throw failure.step.equals("dlopen") ? new Refusal(whyNotLoaded(path), failure, said(failure)) : failure;
        }
    }

    /** The dynamic loader has only words for it. */
    private static Reason whyNotLoaded(String path) {
        try {
            Path file = Paths.get(path);
            if (!Files.exists(file)) {
                return Reason.NO_MODULE;
            }
            byte[] magic = new byte[ELF.length];
            try (InputStream in = Files.newInputStream(file)) {
                return in.read(magic) == magic.length && Arrays.equals(magic, ELF)
                        ? Reason.MODULE_FAILED
                        : Reason.NOT_A_MODULE;
            }
        } catch (InvalidPathException none) {
            return Reason.NO_MODULE;
        } catch (IOException directory) {
            return Reason.NOT_A_MODULE;
        }
    }

    private static String said(NativeFailure failure) {
        return ": " + failure.diagnostics.trim();
    }

    boolean isUnloaded() {
        return unloaded;
    }

    /** Tells whether the module has the vendor's functions. The caller is inside the module. */
    boolean hasVendorFunctions(Attempt attempt) throws NativeFailure {
        String answer = System.getProperty(VENDOR_FUNCTIONS);
        if (answer != null) {
            return Boolean.parseBoolean(answer);
        }
        if (vendorFunctions == null) {
            vendorFunctions = attempt.call(natives -> natives.hasVendorFunctions(handle));
        }
        return vendorFunctions;
    }

    /** Refuses where the module lacks a vendor's function. The caller is inside the module. */
    void require(String vendorFunction, Attempt attempt) throws NativeFailure {
        if (!hasVendorFunctions(attempt)) {
            throw new Refusal(Reason.UNSUPPORTED, ReturnCodes.CKR_FUNCTION_NOT_SUPPORTED,
                    "the module has no function " + vendorFunction + ", nothing was sent");
        }
    }

    /** Initialises the module. The caller holds all permits. */
    void initialize(Attempt attempt) throws NativeFailure {
        try {
            shared.begin(attempt.call(natives -> natives.initialize(handle)));
        } catch (NativeFailure failure) {
            // The software token, which is built upon SoftHSM2, says no more than this where that runs already.
            if (failure.code == ReturnCodes.CKR_GENERAL_ERROR && SharedModule.isInUse(SOFTHSM)) {
                throw new Refusal(Reason.IN_USE, failure, "; SoftHSM2 is in use in this process");
            }
            throw failure;
        }
    }

    /** Finalises a file's module, unless others initialised it, and unloads the file. */
    static void unload(String path, Attempt attempt) throws NativeFailure {
        synchronized (LOADED) {
            LoadedModule module = LOADED.get(path);
            if (module != null) {
                module.unload(attempt);
                LOADED.remove(path);
            }
        }
    }

    private void unload(Attempt attempt) throws NativeFailure {
        if (!shared.gate.tryAcquire(SharedModule.ALL)) {
            throw inUse("a call is inside the module");
        }
        try {
            if (shared.sessions.get() > 0) {
                throw inUse("a session is open");
            }
            if (shared.state.get() != SharedModule.INITIALIZED_BY_OTHERS && shared.state.get() != SharedModule.UNKNOWN) {
                finish(attempt);
            }
            shared.state.set(SharedModule.UNKNOWN);
            unloaded = true;
            attempt.command(natives -> natives.unload(handle));
        } finally {
            shared.gate.release(SharedModule.ALL);
        }
    }

    private void finish(Attempt attempt) throws NativeFailure {
        try {
            attempt.command(natives -> natives.finish(handle));
        } catch (NativeFailure failure) {
            if (failure.code != ReturnCodes.CKR_CRYPTOKI_NOT_INITIALIZED) {
                throw failure;
            }
            // Somebody else was faster.
        }
    }

    private static Refusal inUse(String why) {
        return new Refusal(Reason.IN_USE, ReturnCodes.CKR_SESSION_EXISTS, why);
    }
}
