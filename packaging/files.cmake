# Installs headers, schemas, examples and whatever else is copied as it is.

install(FILES ${PROJECT_SOURCE_DIR}/rib.h ${PROJECT_SOURCE_DIR}/rib.hpp ${PROJECT_SOURCE_DIR}/rib_frames.h
              ${PROJECT_SOURCE_DIR}/rib_version.h
        DESTINATION ${include_root} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/ip DESTINATION ${include_root} COMPONENT development FILES_MATCHING PATTERN "*.h")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform DESTINATION ${include_root} COMPONENT development FILES_MATCHING PATTERN "*.h")
# With the inside of the codec, which what zidlc generates for other projects stands on.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/codec ${PROJECT_SOURCE_DIR}/messages DESTINATION ${include_root} COMPONENT development
        FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
install(FILES ${PROJECT_SOURCE_DIR}/inspect/rib_inspect.h ${PROJECT_SOURCE_DIR}/inspect/reasons.def
        DESTINATION ${include_root}/inspect COMPONENT development)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/proto DESTINATION ${share_root} COMPONENT development FILES_MATCHING PATTERN "*.proto")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/schema DESTINATION ${share_root} COMPONENT development FILES_MATCHING PATTERN "*.zidl")
install(FILES ${PROJECT_SOURCE_DIR}/wireshark/rib.lua DESTINATION ${share_root}/wireshark COMPONENT tools)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${share_root} COMPONENT documentation)
