# cmake -DOUT=FILE -DFOLDER=FOLDER -DNAMES=A,B,... -P embed.cmake: writes a source with the bytes of files in FOLDER.
string(REPLACE "," ";" names "${NAMES}")
set(arrays "")
set(entries "")
set(number 0)
foreach(name IN LISTS names)
  file(READ "${FOLDER}/${name}" hex HEX)
  string(LENGTH "${hex}" digits)
  math(EXPR size "${digits} / 2")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
  string(APPEND arrays "constexpr unsigned char file${number}[] = {${bytes}0};\n")
  string(APPEND entries "        {\"${name}\", {reinterpret_cast<const char*>(file${number}), ${size}}},\n")
  math(EXPR number "${number} + 1")
endforeach()
file(WRITE "${OUT}" "#include \"workbench/embedded.h\"\n\nnamespace workbench {\n\nnamespace {\n\n${arrays}\n} // namespace\n
const std::vector<EmbeddedFile>& embeddedFiles() {\n    static const std::vector<EmbeddedFile> files = {\n${entries}    };\n    return files;\n}\n
} // namespace workbench\n")
