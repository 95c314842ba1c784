package jvm;

/** What a program that has ended leaves. */
final class Result {
    final int status;
    final String out;
    final String err;

    Result(int status, String out, String err) {
        this.status = status;
        this.out = out;
        this.err = err;
    }

    @Override
    public String toString() {
        return "status " + status + "\n--- out\n" + out + "--- err\n" + err;
    }
}
