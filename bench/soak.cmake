# The soak is built with the tests as well, which run it for a short while.
if(NOT TARGET soak)
    add_subdirectory(soak)
endif()
