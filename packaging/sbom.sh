#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Writes the bill of materials of a release to standard output: SPDX 2.3 in JSON.
#
#   packaging/sbom.sh VERSION BUILT_WITH FOLDER
#
# FOLDER has the release's files; BUILT_WITH lists Debian's packages of the build, name and version a line. The time is
# that of SOURCE_DATE_EPOCH.
set -euo pipefail
version=$1
built_with=$2
cd "$3"

# What runs with ours, and which of our packages needs it.
dependencies='libc6 libvornixtoken-jni
libgcc-s1 libvornixtoken-jni
libstdc++6 libvornixtoken-jni
libpcsclite1 libvornixtoken-jni
libssl3 vornixtoken-softtoken
libgnutls30 vornixtoken-softtoken
libsofthsm2 vornixtoken-softtoken
libpicocli-java vornixtoken-tools'

separator=''
# entry <text>: one more element of a JSON array.
entry() {
    printf '%s%s' "$separator" "$1"
    separator=$',\n'
}
checksum() { "$1sum" "$2" | cut -d' ' -f1; }
identifier() { tr -c 'A-Za-z0-9.\n-' '-' <<<"$1"; }

cat <<END
{
"spdxVersion": "SPDX-2.3",
"dataLicense": "CC0-1.0",
"SPDXID": "SPDXRef-DOCUMENT",
"name": "vornixtoken-$version",
"documentNamespace": "urn:vornixtoken:$version:$(checksum sha256 "vornixtoken-$version.tar.gz")",
"creationInfo": {
  "created": "$(date --utc --date="@$SOURCE_DATE_EPOCH" +%Y-%m-%dT%H:%M:%SZ)",
  "creators": ["Organization: VornixToken authors", "Tool: packaging/sbom.sh-$version"]
},
"packages": [
END
entry "{\"SPDXID\": \"SPDXRef-vornixtoken\", \"name\": \"vornixtoken\", \"versionInfo\": \"$version\",
 \"downloadLocation\": \"NOASSERTION\", \"filesAnalyzed\": false, \"primaryPackagePurpose\": \"LIBRARY\",
 \"licenseConcluded\": \"Apache-2.0\", \"licenseDeclared\": \"Apache-2.0\",
 \"copyrightText\": \"Copyright 2026 The VornixToken authors\"}"
relationships='{"spdxElementId": "SPDXRef-DOCUMENT", "relationshipType": "DESCRIBES", "relatedSpdxElement": "SPDXRef-vornixtoken"}'
while read -r name user; do
    built=$(awk -v name="$name" '{ split($1, parts, ":") } parts[1] == name { print $2; exit }' "$built_with")
    [ -n "$built" ] || { echo "sbom: $name is in no line of $built_with" >&2; exit 1; }
    id=SPDXRef-$(identifier "$name")
    entry "{\"SPDXID\": \"$id\", \"name\": \"$name\", \"versionInfo\": \"$built\",
 \"downloadLocation\": \"NOASSERTION\", \"filesAnalyzed\": false,
 \"externalRefs\": [{\"referenceCategory\": \"PACKAGE-MANAGER\", \"referenceType\": \"purl\",
  \"referenceLocator\": \"pkg:deb/debian/${name//+/%2B}@${built//+/%2B}\"}],
 \"comment\": \"Needed by $user.\"}"
    relationships+=$',\n'"{\"spdxElementId\": \"SPDXRef-vornixtoken\", \"relationshipType\": \"DEPENDS_ON\", \"relatedSpdxElement\": \"$id\"}"
done <<<"$dependencies"
printf '\n],\n"files": [\n'
separator=''
for file in *; do
    id=SPDXRef-file-$(identifier "$file")
    entry "{\"SPDXID\": \"$id\", \"fileName\": \"./$file\", \"checksums\": [
 {\"algorithm\": \"SHA1\", \"checksumValue\": \"$(checksum sha1 "$file")\"},
 {\"algorithm\": \"SHA256\", \"checksumValue\": \"$(checksum sha256 "$file")\"}]}"
    relationships+=$',\n'"{\"spdxElementId\": \"SPDXRef-vornixtoken\", \"relationshipType\": \"CONTAINS\", \"relatedSpdxElement\": \"$id\"}"
done
printf '\n],\n"relationships": [\n%s\n]\n}\n' "$relationships"
