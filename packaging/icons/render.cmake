# The icon in the sizes that desktops ask for, drawn from the one picture.
# A larger one is drawn from the picture itself; in the program, which decodes all its icons at the
# start, it would delay the first window.
set(BRIGHTKEEL_ICON_SIZES 16 24 32 48 64 128)
set(BRIGHTKEEL_ICON_FOLDER ${CMAKE_BINARY_DIR}/icons)
set(BRIGHTKEEL_ICON_PICTURE ${CMAKE_CURRENT_LIST_DIR}/brightkeel-uninstaller.svg)

# brightkeel_render_icons(OUT): sets OUT to a resource list of the files SIZE.png, which the calling
# folder builds.
function(brightkeel_render_icons out)
  find_program(RSVG_CONVERT rsvg-convert REQUIRED)
  file(MAKE_DIRECTORY ${BRIGHTKEEL_ICON_FOLDER})
  foreach(size ${BRIGHTKEEL_ICON_SIZES})
    set(icon ${BRIGHTKEEL_ICON_FOLDER}/${size}.png)
    add_custom_command(OUTPUT ${icon}
      COMMAND ${RSVG_CONVERT} --width ${size} --height ${size} --output ${icon}
              ${BRIGHTKEEL_ICON_PICTURE}
      DEPENDS ${BRIGHTKEEL_ICON_PICTURE} VERBATIM)
    string(APPEND files "<file>${size}.png</file>")
  endforeach()
  set(list ${BRIGHTKEEL_ICON_FOLDER}/icons.qrc)
  file(CONFIGURE OUTPUT ${list}
    CONTENT "<RCC><qresource prefix='/application-icons'>${files}</qresource></RCC>\n")
  set(${out} ${list} PARENT_SCOPE)
endfunction()
