// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.util.AbstractMap.SimpleEntry;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.Map;
import java.util.TreeMap;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.ConcurrentMap;
import java.util.concurrent.ConcurrentSkipListMap;
import java.util.concurrent.Semaphore;
import java.util.concurrent.atomic.AtomicInteger;
import java.util.stream.Collectors;
import java.util.stream.Stream;

/**
 * What all copies of these classes in the virtual machine must know of one module: its locks, and whether and by whom it
 * was initialised. The module exists once in the process, whichever class loader uses it.
 *
 * <p>The copies meet in a map whose name is a system property; {@link NativeCall#keepShared} says why a name. The map
 * holds types of the Java library only, so no class loader is kept alive by it. The property's end is raised when the
 * contents change.
 */
final class SharedModule {
    /** A caller with all permits is alone in the module. */
    static final int ALL = 1 << 20;

    static final int UNKNOWN = -1;
    static final int TAKES_SEVERAL_THREADS = 0;
    static final int INITIALIZED_BY_OTHERS = 2;

    private static final String PLACE = "com.tovr.smartcard.vornixtoken.modules.1";
    private static final ConcurrentMap<Long, ConcurrentMap<String, Object>> MODULES = meetingPlace();

    /** A call inside the module holds one permit, or all. */
    final Semaphore gate;
    /** What {@link NativeCall#initialize} answered, or {@link #UNKNOWN}. Changed only with all permits, or to that. */
    final AtomicInteger state;
    /** Counts the initialisations. A session of an earlier one is void. */
    final AtomicInteger generation;
    /** The open sessions of this generation. */
    final AtomicInteger sessions;
    private final String path;
    private final ConcurrentMap<Long, Semaphore> locks;
    private final ConcurrentMap<Long, byte[]> readers;
    private final ConcurrentMap<Long, AtomicInteger> resets;

    @SuppressWarnings("unchecked")
    private SharedModule(ConcurrentMap<String, Object> record) {
        path = (String) record.getOrDefault("path", "");
        gate = (Semaphore) record.computeIfAbsent("gate", key -> new Semaphore(ALL, true));
        state = (AtomicInteger) record.computeIfAbsent("state", key -> new AtomicInteger(UNKNOWN));
        generation = (AtomicInteger) record.computeIfAbsent("generation", key -> new AtomicInteger());
        sessions = (AtomicInteger) record.computeIfAbsent("sessions", key -> new AtomicInteger());
        locks = (ConcurrentMap<Long, Semaphore>) record.computeIfAbsent("locks", key -> new ConcurrentSkipListMap<>());
        readers = (ConcurrentMap<Long, byte[]>) record.computeIfAbsent("readers", key -> new ConcurrentHashMap<>());
        resets = (ConcurrentMap<Long, AtomicInteger>) record.computeIfAbsent("resets", key -> new ConcurrentHashMap<>());
    }

    /** The module with a function list at this address, loaded from this file. */
    static SharedModule at(long functionList, String path) {
        ConcurrentMap<String, Object> record = MODULES.computeIfAbsent(functionList, key -> new ConcurrentHashMap<>());
        record.put("path", path);
        return new SharedModule(record);
    }

    @SuppressWarnings("unchecked")
    private static ConcurrentMap<Long, ConcurrentMap<String, Object>> meetingPlace() {
        synchronized (PLACE) { // a literal is one object for all class loaders
            String name = System.getProperty(PLACE);
            Object place = name == null ? null : new NativeCall().findShared(name.getBytes(StandardCharsets.US_ASCII));
            if (place == null) {
                place = new ConcurrentHashMap<>();
                System.setProperty(PLACE, new String(new NativeCall().keepShared(place), StandardCharsets.US_ASCII));
            }
            return (ConcurrentMap<Long, ConcurrentMap<String, Object>>) place;
        }
    }

    /** The one lock of a slot, fair. */
    Semaphore lock(long slot) {
        Semaphore lock = locks.get(slot);
        return lock != null ? lock : locks.computeIfAbsent(slot, key -> new Semaphore(1, true));
    }

    /** Remembers the reader behind a slot, for {@link #locksOf}. */
    void name(long slot, byte[] reader) {
        lock(slot);
        readers.put(slot, reader);
    }

    /** Counts how often this library has powered the card in a slot down. */
    AtomicInteger resets(long slot) {
        return resets.computeIfAbsent(slot, key -> new AtomicInteger());
    }

    /** Tells all modules that a reader's card was powered down. The caller holds the reader's locks. */
    static void noteReset(byte[] reader) {
        MODULES.values().stream().map(SharedModule::new)
                .forEach(module -> module.slotsOf(reader).forEach(slot -> module.resets(slot).incrementAndGet()));
    }

    /** How many permits a call needs. */
    int permits() {
        return state.get() == TAKES_SEVERAL_THREADS ? 1 : ALL;
    }

    /** Somebody finalised the module: what this generation had is gone. */
    void lose(int lostGeneration) {
        if (generation.get() == lostGeneration) {
            state.set(UNKNOWN);
        }
    }

    /** Begins a generation. The caller holds all permits. */
    void begin(int newState) {
        sessions.set(0);
        generation.incrementAndGet();
        state.set(newState);
    }

    /** Tells whether a module whose file is called so is initialised in this process. */
    static boolean isInUse(String file) {
        return MODULES.values().stream().map(SharedModule::new)
                .anyMatch(module -> module.state.get() != UNKNOWN && module.path.endsWith(file));
    }

    /**
     * Returns the locks that keep calls of this library away from a reader, in an order that is the same for all, and
     * how many permits of each.
     */
    static List<Map.Entry<Semaphore, Integer>> locksOf(byte[] reader) {
        List<Map.Entry<Semaphore, Integer>> all = new ArrayList<>();
        for (ConcurrentMap<String, Object> record : new TreeMap<>(MODULES).values()) {
            SharedModule module = new SharedModule(record);
            int permits = module.permits();
            List<Semaphore> slots = module.slotsOf(reader).map(module::lock).collect(Collectors.toList());
            // Who is alone in the module has all its slots.
            List<Semaphore> wanted = permits == 1 || slots.isEmpty() ? slots : Collections.singletonList(module.gate);
            wanted.forEach(lock -> all.add(new SimpleEntry<>(lock, permits)));
        }
        return all;
    }

    private Stream<Long> slotsOf(byte[] reader) {
        return locks.keySet().stream().filter(slot -> Arrays.equals(readers.get(slot), reader));
    }
}
