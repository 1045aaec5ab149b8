; Shared by installer and uninstaller. Macros, because the names of an uninstaller's functions begin with "un.".

; EndWith CODE TEXT: shows why, unless silent, and ends.
!macro EndWith code text
  MessageBox MB_OK|MB_ICONSTOP "${text}" /SD IDOK
  SetErrorLevel ${code}
  Quit
!macroend
!define EndWith "!insertmacro EndWith"

!macro RequireAdministrator
  UserInfo::GetAccountType
  Pop $0
  ${If} $0 != "Admin"
    ${EndWith} ${EXIT_NO_ADMINISTRATOR} "$(TEXT_NO_ADMINISTRATOR)"
  ${EndIf}
!macroend
!define RequireAdministrator "!insertmacro RequireAdministrator"

; Ends the instances of both programs that run from the installation folder.
!macro CloseProgram
  InitPluginsDir
  File "/oname=$PLUGINSDIR\closeprogram.exe" "${CLOSE_PROGRAM}"
  ExecWait '"$PLUGINSDIR\closeprogram.exe" "$INSTDIR\${PROGRAM}"' $0
  ExecWait '"$PLUGINSDIR\closeprogram.exe" "$INSTDIR\${DRIVER_UPDATE}"' $1
  ${If} $0 != 0
  ${OrIf} $1 != 0
    ${EndWith} ${EXIT_STILL_RUNNING} "$(TEXT_STILL_RUNNING)"
  ${EndIf}
!macroend
!define CloseProgram "!insertmacro CloseProgram"
