# The profile-string functions.
vk_unit_test(profile_test
    SOURCES
        FormatText_test.cpp
        ProfileFiles_test.cpp
        ProfileProperties_test.cpp
        ProfileTest.cpp
        vkProfile_test.cpp
        vkProfileRead_test.cpp
        vkProfileWrite_test.cpp
    LIBS vkpub common)
