# The shared library offers the public headers' names and nothing else. Called with NM and LIBRARY.
execute_process(COMMAND ${NM} -DC --defined-only ${LIBRARY} OUTPUT_VARIABLE symbols
    COMMAND_ERROR_IS_FATAL ANY)
set(functions "newline|end_of_string|left_barce|isright_brace|load_ini_file|parse_file")
string(APPEND functions "|read_profile_string|read_profile_int|write_profile_string")
string(APPEND functions "|trace_log_vkapppost|trace_console_vkapppost")

string(REGEX REPLACE "\n$" "" lines "${symbols}")
string(REPLACE "\n" ";" lines "${lines}")
foreach(line ${lines})
    if(NOT line MATCHES "^[0-9a-f]+ (T (int )?(CBufHelper|SimpleIni)::|T (${functions})\\(|A VKCOMMON_1$)")
        message(FATAL_ERROR "not to be exported: ${line}")
    endif()
endforeach()

foreach(name "CBufHelper::YdChk(" "SimpleIni::Load(" "SimpleIni::GetValue<int>(" "parse_file("
        "write_profile_string(" "trace_log_vkapppost(" "newline(char)")
    string(FIND "${symbols}" "${name}" at)
    if(at EQUAL -1)
        message(FATAL_ERROR "not exported: ${name}")
    endif()
endforeach()
