# Sources of the halftoning operations of kv_imaging.
target_sources(kv_imaging PRIVATE
  ${CMAKE_CURRENT_SOURCE_DIR}/AdThreshold.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/BmpThreshold.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/BmpDither.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/DitherScreens.cpp)
