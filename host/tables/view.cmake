# "FolioView" and "Unix": adapters into the view layer and the platform
# (library folio_view_tables).
add_library(folio_view_tables SHARED
  ${CMAKE_CURRENT_LIST_DIR}/FolioViewTable.cpp
  ${CMAKE_CURRENT_LIST_DIR}/UnixTable.cpp)
target_include_directories(folio_view_tables PUBLIC ${PROJECT_SOURCE_DIR}/host)
target_compile_definitions(folio_view_tables PRIVATE FOLIO_HOST_SIDE)
target_link_libraries(folio_view_tables PUBLIC folio_view folio_platform)
target_link_options(folio_view_tables PRIVATE -Wl,-z,defs)
