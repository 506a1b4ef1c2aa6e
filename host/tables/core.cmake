# "Core" and "Obj": adapters into the core layer (library folio_core_tables).
add_library(folio_core_tables SHARED
  ${CMAKE_CURRENT_LIST_DIR}/CoreTable.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ObjTable.cpp)
target_include_directories(folio_core_tables PUBLIC ${PROJECT_SOURCE_DIR}/host)
target_compile_definitions(folio_core_tables PRIVATE FOLIO_HOST_SIDE)
target_link_libraries(folio_core_tables PUBLIC folio_core)
target_link_options(folio_core_tables PRIVATE -Wl,-z,defs)
