; Uninstallation. uninstall.exe [/S] [/UPGRADE]; with the latter, for the installer, all but the program's files stays.

Function un.onInit
  SetShellVarContext all
  ${RequireAdministrator}
FunctionEnd

; What the program wrote. Only what goes by its names: a folder with anything else in it stays.
Function un.RemoveData
  Delete "$INSTDIR\task.db"
  Delete "$INSTDIR\logs\*.log"
  Delete "$INSTDIR\details\*.txt"
FunctionEnd

Function un.Unregister
  ${RemoveLogonStart}
  Delete "${SHORTCUT}"
  DeleteRegKey HKLM "${UNINSTALL_KEY}"
  Delete "$INSTDIR\uninstall.exe"
  MessageBox MB_YESNO|MB_ICONQUESTION|MB_DEFBUTTON2 "$(TEXT_REMOVE_DATA)" /SD IDNO IDNO keep
  Call un.RemoveData
keep:
  ; A folder that still holds something stays.
  RMDir "$INSTDIR\logs"
  RMDir "$INSTDIR\details"
  SetOutPath "$TEMP"
  RMDir "$INSTDIR"
FunctionEnd

Section Uninstall
  ${CloseProgram}
  !insertmacro UninstallShipped
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/UPGRADE" $1
  ${If} ${Errors}
    Call un.Unregister
  ${EndIf}
SectionEnd
