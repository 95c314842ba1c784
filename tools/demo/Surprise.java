// SPDX-License-Identifier: Apache-2.0
package demo;

/** Something did not go as expected. */
final class Surprise extends RuntimeException {
    Surprise(String message) {
        super(message);
    }
}
