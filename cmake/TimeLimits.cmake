# How long a test may take before it counts as hung, in seconds. An emulator takes several times as
# long as the machine.
set(VK_TIME_FACTOR 1)
if(CMAKE_CROSSCOMPILING_EMULATOR)
    set(VK_TIME_FACTOR 4)
endif()
math(EXPR VK_TIME_LIMIT "120 * ${VK_TIME_FACTOR}")
math(EXPR VK_LONG_TIME_LIMIT "300 * ${VK_TIME_FACTOR}") # for what lasts for minutes by its nature
