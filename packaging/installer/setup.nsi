; The installer. packaging/pack passes VERSION, SETUP (the file to make), ICON, SHIPPED (the list of files), STAGE (their
; folder), CLOSE_PROGRAM and, if the release is signed, SIGN.
;
; setup.exe [/S] [/NOLOGON] [/D=FOLDER]
;   /S        silent
;   /NOLOGON  no start at logon
;   /D        where to install; last, and without quotes
;
; Exit codes: 0 done; 1 cancelled by the user; 2 a file could not be written; 3 a running instance could not be ended;
; 4 the user is not an administrator; 5 (uninstaller) printers, drivers or ports are left.

Target amd64-unicode

!include MUI2.nsh
!include LogicLib.nsh
!include FileFunc.nsh
!include WordFunc.nsh
!include "${SHIPPED}"

!include options.nsh
!include texts.nsh
!include common.nsh
!include logontask.nsh
!include install.nsh
!include uninstall.nsh
