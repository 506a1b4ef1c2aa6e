# "FolioSupport" and "PDModel": adapters into the model (library
# folio_model_tables).
add_library(folio_model_tables SHARED
  ${CMAKE_CURRENT_LIST_DIR}/FolioSupportTable.cpp
  ${CMAKE_CURRENT_LIST_DIR}/PDModelTable.cpp)
target_include_directories(folio_model_tables PUBLIC ${PROJECT_SOURCE_DIR}/host)
target_compile_definitions(folio_model_tables PRIVATE FOLIO_HOST_SIDE)
target_link_libraries(folio_model_tables PUBLIC folio_model)
target_link_options(folio_model_tables PRIVATE -Wl,-z,defs)
