// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.io.ByteArrayOutputStream;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Objects;
import java.util.stream.Collectors;

import javax.security.auth.x500.X500Principal;

/**
 * What a certificate signing request says beside its key. The module defines what the texts mean; most modules take
 * names or dotted object identifiers:
 *
 * <pre>
 * RequestContent content = RequestContent.builder()
 *         .subject("CN", "Alice")
 *         .alternativeName("email", "alice@host.example")
 *         .keyUsage(KeyUsage.DIGITAL_SIGNATURE)
 *         .build();
 * </pre>
 *
 * <p>The module gets the texts in UTF-8, each up to a NUL. A text with U+0000 or with half of a surrogate pair is
 * refused before anything is sent.
 */
public final class RequestContent {
    private final String[] subject;
    private final String[] attributes;
    private final String[] extensions;

    private RequestContent(Builder builder) {
        subject = builder.subject.toArray(new String[0]);
        attributes = builder.attributes.toArray(new String[0]);
        List<String> all = new ArrayList<>(builder.extensions);
        if (!builder.alternativeNames.isEmpty()) {
            all.addAll(Arrays.asList("subjectAltName", "", String.join(",", builder.alternativeNames)));
        }
        extensions = all.toArray(new String[0]);
    }

    /**
     * Begins an empty request.
     *
     * @return the builder
     */
    public static Builder builder() {
        return new Builder();
    }

    /** Tells whether the other content has the same texts. */
    @Override
    public boolean equals(Object other) {
        if (!(other instanceof RequestContent)) {
            return false;
        }
        RequestContent content = (RequestContent) other;
        return Arrays.equals(subject, content.subject) && Arrays.equals(attributes, content.attributes)
                && Arrays.equals(extensions, content.extensions);
    }

    @Override
    public int hashCode() {
        return Arrays.deepHashCode(new String[][] {subject, attributes, extensions});
    }

    /** Returns only the subject, because an attribute may be a challenge password. */
    @Override
    public String toString() {
        return "request for " + Arrays.toString(subject);
    }

    String[] subject() {
        return subject;
    }

    String[] attributes() {
        return attributes;
    }

    String[] extensions() {
        return extensions;
    }

    /** Encodes subject, attributes and extensions, each text with a NUL behind it. */
    byte[][] encode() throws Refusal {
        return new byte[][] {encode(subject), encode(attributes), encode(extensions)};
    }

    private static byte[] encode(String[] texts) throws Refusal {
        ByteArrayOutputStream run = new ByteArrayOutputStream();
        for (String text : texts) {
            byte[] bytes = Texts.encodeWithoutNul(text);
            run.write(bytes, 0, bytes.length);
            run.write(0);
        }
        return run.toByteArray();
    }

    /** Collects a request, in the order of the calls. */
    public static final class Builder {
        private final List<String> subject = new ArrayList<>();
        private final List<String> attributes = new ArrayList<>();
        private final List<String> extensions = new ArrayList<>();
        private final List<String> alternativeNames = new ArrayList<>();

        private Builder() {
        }

        /**
         * Adds all parts of a subject's name.
         *
         * @param name the name
         * @return this builder
         * @throws IllegalArgumentException when the name has a part of several values or of a kind that is no text
         */
        public Builder subject(X500Principal name) {
            subject.addAll(SubjectParts.of(name));
            return this;
        }

        /**
         * Adds a part of the subject's name.
         *
         * @param name  which part, {@code CN} for instance
         * @param value its text
         * @return this builder
         */
        public Builder subject(String name, String value) {
            Objects.requireNonNull(name, "name");
            Objects.requireNonNull(value, "value");
            return add(subject, name, value);
        }

        /**
         * Adds an attribute.
         *
         * @param name  which one
         * @param value its text
         * @return this builder
         */
        public Builder attribute(String name, String value) {
            Objects.requireNonNull(name, "name");
            Objects.requireNonNull(value, "value");
            return add(attributes, name, value);
        }

        /**
         * Adds a name to the extension subjectAltName, which follows all other extensions.
         *
         * @param kind  DNS, email, IP, URI or what else the module knows
         * @param value the name
         * @return this builder
         * @throws IllegalArgumentException when the value has a comma, which ends a name there
         */
        public Builder alternativeName(String kind, String value) {
            Objects.requireNonNull(kind, "kind");
            if (Objects.requireNonNull(value, "value").indexOf(',') >= 0) {
                throw new IllegalArgumentException("a comma in the name " + value);
            }
            alternativeNames.add(kind + ":" + value);
            return this;
        }

        /**
         * Adds the critical extension keyUsage.
         *
         * @param usages what the key may be used for, one at least
         * @return this builder
         */
        public Builder keyUsage(KeyUsage... usages) {
            if (usages.length == 0) {
                throw new IllegalArgumentException("no usage");
            }
            return extension("keyUsage", true,
                    Arrays.stream(usages).map(KeyUsage::text).collect(Collectors.joining(",")));
        }

        /**
         * Adds an extension, for a module that knows critical ones by the word "critical" and others by an empty text.
         *
         * @param name     which one
         * @param critical whether it is critical
         * @param value    its text
         * @return this builder
         */
        public Builder extension(String name, boolean critical, String value) {
            Objects.requireNonNull(name, "name");
            Objects.requireNonNull(value, "value");
            return extension(name, critical ? "critical" : "", value);
        }

        /**
         * Adds an extension, for any module.
         *
         * @param first  the first text
         * @param second the second text
         * @param third  the third text
         * @return this builder
         */
        public Builder extension(String first, String second, String third) {
            Objects.requireNonNull(first, "first");
            Objects.requireNonNull(second, "second");
            Objects.requireNonNull(third, "third");
            return add(extensions, first, second, third);
        }

        /**
         * Ends the collection.
         *
         * @return what was collected until now
         */
        public RequestContent build() {
            return new RequestContent(this);
        }

        private Builder add(List<String> texts, String... group) {
            texts.addAll(Arrays.asList(group));
            return this;
        }
    }
}
