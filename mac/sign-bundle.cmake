# Signs Brisel.app from the inside out after every build (the resource step rewrites the bundled
# node and the server files each time, which breaks an older seal): the embedded frameworks, the
# bundled node with its own entitlements, then the app, all under the hardened runtime.
#   cmake -D BUNDLE=… -D CODESIGN=… -D IDENTITY=… -D IDENTIFIER=… -D APP_ENTITLEMENTS=…
#         -D NODE_ENTITLEMENTS=… [-D PROFILE=…] -P sign-bundle.cmake
if(NOT CODESIGN)
  message(STATUS "No codesign on this system (not a Mac): ${BUNDLE} keeps the linker's ad-hoc signature")
  return()
endif()

function(sign path)
  execute_process(COMMAND "${CODESIGN}" --force --options runtime --sign "${IDENTITY}" ${ARGN} "${path}"
                  RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR
      "codesign could not sign ${path} with BRISEL_CODESIGN_IDENTITY \"${IDENTITY}\":\n${output}"
      "Set BRISEL_CODESIGN_IDENTITY to one of the identities that `security find-identity -p codesigning` "
      "lists, or to \"-\" for an ad-hoc signature.")
  endif()
endfunction()

set(contents "${BUNDLE}/Contents")
if(PROFILE)
  file(COPY_FILE "${PROFILE}" "${contents}/embedded.provisionprofile")
endif()
file(GLOB frameworks LIST_DIRECTORIES true "${contents}/Frameworks/*.framework")
foreach(framework IN LISTS frameworks)
  sign("${framework}")
endforeach()
if(EXISTS "${contents}/MacOS/node")
  # A node copied from a read-only file stays read-only, and codesign writes into it.
  file(CHMOD "${contents}/MacOS/node" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
       GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  sign("${contents}/MacOS/node" --identifier "${IDENTIFIER}.node" --entitlements "${NODE_ENTITLEMENTS}")
endif()
sign("${BUNDLE}" --identifier "${IDENTIFIER}" --entitlements "${APP_ENTITLEMENTS}")

execute_process(COMMAND "${CODESIGN}" --verify --strict "${BUNDLE}" RESULT_VARIABLE result ERROR_VARIABLE output)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "The signature of ${BUNDLE} does not verify:\n${output}")
endif()
