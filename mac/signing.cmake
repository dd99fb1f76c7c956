# Code signing of Brisel.app, part of every build (sign-bundle.cmake). macOS ties the Accessibility
# permission to the app's signature: an ad-hoc signature changes with every build, so the user has
# to grant the permission again, while a certificate's signature stays the same across builds.
set(BRISEL_CODESIGN_IDENTITY "-" CACHE STRING
    "Code-signing identity for Brisel.app (a certificate's name or SHA-1 hash); \"-\" signs ad hoc")
set(BRISEL_DEVELOPMENT_TEAM "" CACHE STRING "Apple Developer team ID, for Sign in with Apple")
set(BRISEL_PROVISIONING_PROFILE "" CACHE FILEPATH
    "Provisioning profile that grants Sign in with Apple, embedded as Contents/embedded.provisionprofile")

if(BRISEL_CODESIGN_IDENTITY STREQUAL "")
  message(FATAL_ERROR "BRISEL_CODESIGN_IDENTITY is empty: set it to a code-signing identity of your "
                      "keychain, or to \"-\" for an ad-hoc signature.")
endif()

# Only a Mac has codesign; a build elsewhere (a cross build) leaves the linker's signature.
if(CMAKE_HOST_APPLE)
  find_program(BRISEL_CODESIGN codesign REQUIRED)
  if(NOT BRISEL_CODESIGN_IDENTITY STREQUAL "-")
    # Without -v, so that a self-signed certificate, which the system does not trust, is listed.
    execute_process(COMMAND security find-identity -p codesigning
                    OUTPUT_VARIABLE identities ERROR_QUIET)
    # Upper-cased both, as a SHA-1 hash may be given in either case.
    string(TOUPPER "${identities}" identities)
    string(TOUPPER "${BRISEL_CODESIGN_IDENTITY}" wanted)
    string(FIND "${identities}" "${wanted}" found)
    if(found EQUAL -1)
      message(FATAL_ERROR
        "BRISEL_CODESIGN_IDENTITY \"${BRISEL_CODESIGN_IDENTITY}\" names no code-signing identity in "
        "your keychains. `security find-identity -p codesigning` lists them; give one's name in quotes "
        "or its SHA-1 hash, or \"-\" for an ad-hoc signature.")
    endif()
  endif()
else()
  set(BRISEL_CODESIGN "")
  message(STATUS "No codesign on this system: Brisel.app will keep the linker's ad-hoc signature")
endif()

set(BRISEL_APPLE_SIGN_IN_ENTITLEMENTS "")
if(BRISEL_APPLE_SIGN_IN)
  if(BRISEL_CODESIGN_IDENTITY STREQUAL "-")
    message(FATAL_ERROR
      "BRISEL_APPLE_SIGN_IN=ON cannot go with an ad-hoc signature (BRISEL_CODESIGN_IDENTITY \"-\"): "
      "macOS grants the Sign in with Apple entitlement only to an app signed with an Apple Developer "
      "team's certificate that carries a provisioning profile allowing it. Set "
      "BRISEL_CODESIGN_IDENTITY, BRISEL_DEVELOPMENT_TEAM and BRISEL_PROVISIONING_PROFILE, or turn "
      "BRISEL_APPLE_SIGN_IN off.")
  endif()
  if(NOT BRISEL_DEVELOPMENT_TEAM MATCHES "^[A-Z0-9]+$")
    message(FATAL_ERROR "BRISEL_APPLE_SIGN_IN=ON needs BRISEL_DEVELOPMENT_TEAM, the team ID of the "
                        "certificate in BRISEL_CODESIGN_IDENTITY (ten letters and digits).")
  endif()
  if(NOT EXISTS "${BRISEL_PROVISIONING_PROFILE}" OR IS_DIRECTORY "${BRISEL_PROVISIONING_PROFILE}")
    message(FATAL_ERROR "BRISEL_APPLE_SIGN_IN=ON needs BRISEL_PROVISIONING_PROFILE, a provisioning "
                        "profile for ${BRISEL_BUNDLE_IDENTIFIER} with Sign in with Apple; this names "
                        "no file: \"${BRISEL_PROVISIONING_PROFILE}\"")
  endif()
  set(BRISEL_APPLE_SIGN_IN_ENTITLEMENTS "\t<key>com.apple.application-identifier</key>
	<string>${BRISEL_DEVELOPMENT_TEAM}.${BRISEL_BUNDLE_IDENTIFIER}</string>
	<key>com.apple.developer.team-identifier</key>
	<string>${BRISEL_DEVELOPMENT_TEAM}</string>
	<key>com.apple.developer.applesignin</key>
	<array>
		<string>Default</string>
	</array>
")
endif()

# A node that loads libraries from outside the system (Homebrew's does) needs them under the
# hardened runtime, which otherwise loads only Apple's libraries and the signer's own.
set(BRISEL_NODE_LIBRARY_ENTITLEMENTS "")
set(foreign_node_libraries "")
if(bundled_node AND CMAKE_HOST_APPLE)
  execute_process(COMMAND otool -L "${bundled_node}" OUTPUT_VARIABLE node_libraries ERROR_QUIET)
  string(REGEX MATCHALL "\n[\t ]+[^\t\n ]+" node_libraries "${node_libraries}")
  foreach(library IN LISTS node_libraries)
    string(STRIP "${library}" library)
    if(NOT library MATCHES "^(/System/|/usr/lib/)")
      list(APPEND foreign_node_libraries "${library}")
    endif()
  endforeach()
endif()
if(foreign_node_libraries)
  list(JOIN foreign_node_libraries "\n  " listed)
  message(WARNING "The node bundled in Brisel.app (${bundled_node}) loads libraries from outside "
                  "macOS:\n  ${listed}\nThis Brisel.app runs only on Macs that have them. For an app "
                  "that runs on any Mac, pass the node of the official macOS download from nodejs.org "
                  "as BRISEL_NODE_RUNTIME.")
  set(BRISEL_NODE_LIBRARY_ENTITLEMENTS "\t<key>com.apple.security.cs.disable-library-validation</key>
	<true/>
")
endif()

set(signing "${CMAKE_CURRENT_BINARY_DIR}/signing")
configure_file(Brisel.entitlements.in "${signing}/Brisel.entitlements" @ONLY)
configure_file(node.entitlements.in "${signing}/node.entitlements" @ONLY)
set(profile_argument "")
if(BRISEL_APPLE_SIGN_IN)
  set(profile_argument -D "PROFILE=${BRISEL_PROVISIONING_PROFILE}")
endif()
add_custom_target(Brisel_signature ALL
  COMMAND ${CMAKE_COMMAND} -D "BUNDLE=$<TARGET_BUNDLE_DIR:Brisel>" -D "CODESIGN=${BRISEL_CODESIGN}"
          -D "IDENTITY=${BRISEL_CODESIGN_IDENTITY}" -D "IDENTIFIER=${BRISEL_BUNDLE_IDENTIFIER}"
          -D "APP_ENTITLEMENTS=${signing}/Brisel.entitlements" -D "NODE_ENTITLEMENTS=${signing}/node.entitlements"
          ${profile_argument} -P "${CMAKE_CURRENT_SOURCE_DIR}/sign-bundle.cmake"
  COMMENT "Signing Brisel.app"
  VERBATIM)
add_dependencies(Brisel_signature Brisel)
