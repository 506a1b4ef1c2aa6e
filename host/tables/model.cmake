# "FolioSupport" and "PDModel": adapters into the document model.
add_library(folio_model_tables SHARED
  ${CMAKE_CURRENT_LIST_DIR}/SupportTable.cpp
  ${CMAKE_CURRENT_LIST_DIR}/PDModelTable.cpp)
target_include_directories(folio_model_tables PUBLIC ${CMAKE_CURRENT_LIST_DIR}
  PRIVATE ${CMAKE_SOURCE_DIR}/host/core) # FixedMath.h, header-only
target_compile_definitions(folio_model_tables PRIVATE FOLIO_HOST_SIDE)
target_link_libraries(folio_model_tables PUBLIC folio_model)
target_link_options(folio_model_tables PRIVATE -Wl,-z,defs)
