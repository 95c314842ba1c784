// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import java.util.ArrayList;
import java.util.List;
import java.util.function.Consumer;

/** Lines of columns that stand below one another. */
final class Table {
    private final List<List<String>> rows = new ArrayList<>();

    void add(List<String> row) {
        rows.add(row);
    }

    void print(Consumer<String> line) {
        for (List<String> row : rows) {
            StringBuilder text = new StringBuilder();
            for (int column = 0; column < row.size(); column++) {
                String cell = row.get(column);
                text.append(cell);
                for (int i = length(cell); column < row.size() - 1 && i < width(column) + 2; i++) {
                    text.append(' ');
                }
            }
            line.accept(text.toString().replaceAll(" +$", ""));
        }
    }

    private int width(int column) {
        return rows.stream().mapToInt(row -> length(row.get(column))).max().orElse(0);
    }

    private static int length(String text) {
        return text.codePointCount(0, text.length());
    }
}
