// SPDX-License-Identifier: Apache-2.0
package recipes;

import java.io.IOException;
import java.net.URI;
import java.net.http.HttpClient;
import java.net.http.HttpRequest;
import java.net.http.HttpResponse;

/** A client of the signing service. */
public final class Post {
    private static final HttpClient CLIENT = HttpClient.newHttpClient();

    private Post() {
    }

    /** Sends a document to be signed. */
    public static HttpResponse<byte[]> send(SigningService service, byte[] document)
            throws IOException, InterruptedException {
        return send(service, "POST", document);
    }

    static HttpResponse<byte[]> send(SigningService service, String method, byte[] document)
            throws IOException, InterruptedException {
        return CLIENT.send(HttpRequest.newBuilder(URI.create("http://localhost:" + service.port() + "/sign"))
                .method(method, HttpRequest.BodyPublishers.ofByteArray(document)).build(),
                HttpResponse.BodyHandlers.ofByteArray());
    }
}
