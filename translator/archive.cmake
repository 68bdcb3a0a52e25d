# Makes scrivel.jsa beside the jars: translates a sample and archives the classes that this loaded.
#   cmake -Djars=FOLDER -Djava=JAVA -Dwork=FOLDER -Dsample=SCRIPT -P archive.cmake
# The class path has to be the one that translations are started with, jars that do not exist included.
set(path "")
foreach(jar antlr-3.5.2-complete-no-st3 scrivel serializer xalan xercesImpl xml-apis scrivelbin)
  list(APPEND path "${jars}/${jar}.jar")
endforeach()
list(JOIN path ":" path)

# Java reads the names of files as the locale's text.
set(ENV{LC_ALL} C.UTF-8)
execute_process(
  COMMAND "${java}" -XX:ArchiveClassesAtExit=${jars}/scrivel.jsa -XX:+UseSerialGC -XX:TieredStopAtLevel=1
    -cp "${path}" com.morrow.scrivel.Program "${sample}" "${work}/archive.lua" "${work}/archive.lines"
  RESULT_VARIABLE result
  OUTPUT_QUIET
  ERROR_VARIABLE errors)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "The translator does not run (${result}): ${errors}")
endif()
