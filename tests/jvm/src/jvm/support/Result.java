// SPDX-License-Identifier: Apache-2.0
package jvm.support;

/** What a program that has ended leaves. */
public final class Result {
    public final int status;
    public final String out;
    public final String err;

    public Result(int status, String out, String err) {
        this.status = status;
        this.out = out;
        this.err = err;
    }

    @Override
    public String toString() {
        return "status " + status + "\n--- out\n" + out + "--- err\n" + err;
    }
}
