# Makes a C++ source of a template that holds @bytes@: the bytes of a file, as numbers. A literal
# would have its limits: clang counts to 65,536. What else the template names between @ is given with -D.
#
#     cmake -D FILE=... -D TEMPLATE=... -D SOURCE=... -P Embed.cmake
file(READ ${FILE} bytes HEX)
string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
file(READ ${TEMPLATE} template)
string(CONFIGURE "${template}" source @ONLY)
file(WRITE ${SOURCE} "${source}")
