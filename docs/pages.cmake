# SPDX-License-Identifier: Apache-2.0
# Copies the documents of SOURCE into PAGES, with the files that they show or link.
file(GLOB_RECURSE files RELATIVE ${SOURCE} ${SOURCE}/*.md ${SOURCE}/docs/*.svg ${SOURCE}/java/recipes/*.java)
list(FILTER files EXCLUDE REGEX "^(build|\\.[a-z]+)/")
foreach(file IN ITEMS ${files} LICENSE p11/P11Wrapper.h include/tovr_pkcs11.h)
  get_filename_component(folder ${file} DIRECTORY)
  file(COPY ${SOURCE}/${file} DESTINATION ${PAGES}/${folder})
endforeach()
