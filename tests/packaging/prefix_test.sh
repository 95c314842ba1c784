#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# What an installed prefix is good for. Runs one of the functions below, in a folder of its own:
#
#   prefix_test.sh <behaviour>
#
# BUILD, PREFIX and SOURCE name the build folder, the installed prefix and the source, LIBDIR the folder of libraries in the
# prefix; VERSION is the project's; CXX and JAVA_HOME name the compilers.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
export VORNIX_SOFTTOKEN_DIR=$folder/token
module=$PREFIX/$LIBDIR/pkcs11/libvornix_softtoken.so
reader='Vornix Soft Reader 00 00'

fail() { echo "$*" >&2; exit 1; }

# expect <text> <command>...: the command succeeds, and a line of its output has the text.
expect() {
    "${@:2}" >output 2>&1 || { cat output >&2; fail "failed: ${*:2}"; }
    grep -qF -- "$1" output || { cat output >&2; fail "'$1' is missing above"; }
}

# expect_refusal <text> <command>...: the command fails, and its output, however broken into lines, has the text.
expect_refusal() {
    ! "${@:2}" >output 2>&1 || fail "succeeded: ${*:2}"
    tr -s ' \n' ' ' <output | grep -qF -- "$1" || { cat output >&2; fail "'$1' is missing above"; }
}

configure_program() { cmake -S "$here/program" -B program -DCMAKE_PREFIX_PATH="$PREFIX" "$@"; }

an_empty_prefix_takes_everything() {
    local library
    rm -rf "$PREFIX"
    cmake --install "$BUILD" --prefix "$PREFIX"
    cmp "$SOURCE/LICENSE" "$PREFIX/share/doc/vornixtoken/LICENSE"
    cmp "$SOURCE/include/tovr_pkcs11.h" "$PREFIX/include/vornixtoken/tovr_pkcs11.h"
    for library in libVornixToken_Javalib.so libvornixtoken_session.so; do
        cmp "$PREFIX/$LIBDIR/$library" "$PREFIX/$LIBDIR/jni/$library"
    done
}

a_cmake_program_links_the_library() {
    configure_program >/dev/null
    cmake --build program >/dev/null
    expect "model software token" program/token_reader "$module" "$reader"
}

a_pkg_config_program_links_the_library() {
    export PKG_CONFIG_PATH=$PREFIX/$LIBDIR/pkgconfig
    # shellcheck disable=SC2046 # several words
    "$CXX" "$here/program/token_reader.cpp" -o token_reader $(pkg-config --cflags --libs vornixtoken)
    LD_LIBRARY_PATH=$PREFIX/$LIBDIR expect "model software token" ./token_reader "$module" "$reader"
}

a_java_program_runs() {
    local jar=$PREFIX/share/java/vornixtoken.jar
    "$JAVA_HOME/bin/javac" -cp "$jar" -d . "$SOURCE"/java/examples/{ReadTokenInfo,Usage}.java
    expect "software token" "$JAVA_HOME/bin/java" -Djava.library.path="$PREFIX/$LIBDIR/jni" -cp "$jar:." \
        examples.ReadTokenInfo "$module" "$reader"
}

the_tool_finds_its_jars_and_libraries() {
    export VORNIX_MODULE=$module VORNIX_TERMINAL=$reader
    # It must not fall back on a copy that it unpacks.
    JDK_JAVA_OPTIONS="-Djava.io.tmpdir=/nonexistent" expect "model:         software token" \
        "$PREFIX/bin/vornixtoken-tool" info
}

the_manual_has_a_page_for_each_command() {
    local page=$PREFIX/share/man/man1/vornixtoken-tool command commands=0
    for command in $("$PREFIX/bin/vornixtoken-tool" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z][a-z-]*\) .*/\1/p'); do
        expect "vornixtoken-tool-$command" mandoc -T ascii "$page-$command.1"
        commands=$((commands + 1))
    done
    [ "$commands" -ge 18 ] || fail "the tool's help shows $commands commands"
    expect "create-request" mandoc -T ascii "$page.1"
    # Its text is the tool's, which has no date.
    ! mandoc -T lint -W warning "$page"*.1 | grep -v "missing date" || fail "mandoc warns of the above"
}

three_shells_complete_the_commands() {
    # shellcheck disable=SC1091 # made by the build
    source "$PREFIX/share/bash-completion/completions/vornixtoken-tool"
    complete -p vornixtoken-tool >/dev/null
    expect "--detached" env HOME="$folder" zsh -f "$here/complete.zsh" "$PREFIX/share/zsh/vendor-completions" \
        "vornixtoken-tool sign --det"
    expect "generate-gost" env HOME="$folder" fish --no-config -c "source '$PREFIX'/share/fish/vendor_completions.d/*
        complete -C 'vornixtoken-tool gen'"
    cmp "$PREFIX"/share/zsh/{site-functions,vendor-completions}/_vornixtoken-tool
}

a_moved_prefix_works() {
    mkdir elsewhere
    cp -a "$PREFIX" elsewhere/moved
    PREFIX=$folder/elsewhere/moved
    a_cmake_program_links_the_library
    the_tool_finds_its_jars_and_libraries
}

a_prefix_that_cannot_be_written_gets_nothing() {
    expect_refusal "Nothing was installed, because /proc/vornixtoken/bin cannot be written" \
        cmake --install "$BUILD" --prefix /proc/vornixtoken
    # A file stands where the last folder would be made.
    mkdir prefix
    touch prefix/share
    expect_refusal "Nothing was installed, because $folder/prefix/share cannot be written" \
        cmake --install "$BUILD" --prefix "$folder/prefix"
    [ "$(ls -A prefix)" = share ] || fail "half installed: $(ls -A prefix)"
}

what_is_not_built_is_not_installed() {
    cmake -S "$SOURCE" -B build >/dev/null
    expect_refusal "Nothing was installed, because $folder/build/libVornixToken_Javalib.so is missing" \
        cmake --install build --prefix "$folder/prefix"
    [ ! -e prefix ] || fail "half installed: $(find prefix)"
}

a_missing_header_is_named() {
    expect_refusal "VornixToken needs a PKCS #11 header: install libp11-kit-dev (Debian) or set PKCS11_INCLUDE_DIR." \
        configure_program -DCMAKE_FIND_ROOT_PATH=/nonexistent -DCMAKE_FIND_ROOT_PATH_MODE_INCLUDE=ONLY
}

another_architecture_is_named() {
    expect_refusal "is for $(uname -m) and not for riscv64" \
        configure_program -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR=riscv64
}

a_missing_java_is_named() {
    JAVA_HOME=/nonexistent expect_refusal "/nonexistent/bin/java not found: install a Java runtime or set JAVA_HOME" \
        "$PREFIX/bin/vornixtoken-tool" --version
}

a_missing_jar_is_named() {
    mkdir bin
    cp "$PREFIX/bin/vornixtoken-tool" bin
    expect_refusal "picocli.jar not found: install libpicocli-java" bin/vornixtoken-tool --version
}

another_project_builds_it_as_its_part() {
    PREFIX=/nonexistent configure_program -DVORNIX_SOURCE="$SOURCE" >/dev/null
    cmake --build program --parallel 2 >/dev/null
    expect "model software token" program/token_reader "$module" "$reader"
    cmake --install program --prefix "$folder/prefix" >/dev/null
    [ "$(cd prefix && find . -type f)" = ./bin/token_reader ] || fail "its project installs more than its own program"
}

a_maven_project_has_it_from_the_repository() {
    command -v mvn >/dev/null || fail "mvn not found: install maven and the plugins that scripts/setup.sh ci names"
    cp -r "$here/maven_project/src" .
    local file exec
    # Debian's folders tell no plugin's newest version.
    exec=$(find /usr/share/maven-repo/org/codehaus/mojo/exec-maven-plugin -mindepth 1 -printf '%f\n' | grep '^[0-9]' |
        sort --version-sort | tail -n 1)
    for file in pom.xml settings.xml; do
        sed "s|@REPOSITORY@|$BUILD/maven|; s|@VERSION@|$VERSION|; s|@PLATFORM@|linux-$(uname -m)|; s|@FOLDER@|$folder|" \
            "$here/maven_project/$file.in" >$file
    done
    expect "model software token" mvn --batch-mode --settings settings.xml \
        -Daether.offline.protocols=file compile org.codehaus.mojo:exec-maven-plugin:"$exec":java \
        -Dexec.mainClass=user.TokenReader -Dexec.arguments="$module,$reader"
}

"$1"
