#!/bin/sh
# Registers the DLL in a Wine prefix, drives a Manager from VBScript (manager_smoke.vbs), unregisters it and
# checks that the registry is as it was before.
#   manager_smoke.sh <CVImpVelXMLCat.dll> <wine loader: /usr/lib/wine/wine64 or /usr/lib/wine/wine>
# Uses $WINEPREFIX when set, else a fresh prefix under /tmp.
set -eu
dll=$(readlink -f "$1")
wine=$2
here=$(dirname "$(readlink -f "$0")")
: "${WINEPREFIX:=$(mktemp -d /tmp/cvimp-com-smoke.XXXXXX)}"
export WINEPREFIX WINEDEBUG=-all
view=/reg:64
case "$wine" in */wine) view=/reg:32 ;; esac

"$wine" reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f >/dev/null
# The script host registers its own type library the first time it runs: run it once before the registry
# is taken down, so that the comparison sees only what registration did.
echo 'WScript.Echo "ready"' > "$WINEPREFIX/warm-up.vbs"
"$wine" cscript //nologo "$(winepath -w "$WINEPREFIX/warm-up.vbs" 2>/dev/null || echo "$WINEPREFIX/warm-up.vbs")" >/dev/null 2>&1
"$wine" reg export HKCR "$WINEPREFIX/before.reg" $view /y >/dev/null
"$wine" regsvr32 /s "$dll"
"$wine" reg query 'HKCR\CLSID\{56C1A27F-DC5A-40FC-ABE4-6C6593001922}\InprocServer32' $view
out=$("$wine" cscript //nologo "$(winepath -w "$here/manager_smoke.vbs" 2>/dev/null || echo "$here/manager_smoke.vbs")" 2>&1)
echo "$out"
"$wine" regsvr32 /s /u "$dll"
"$wine" reg export HKCR "$WINEPREFIX/after.reg" $view /y >/dev/null
status=0
for expected in 'MAIN Boolean True -1' 'ADVANCED Boolean False' 'USERCONFIG [] String' 'UMLAUT True' \
                'P(Long:0,0,Initialisiere Import...,0)' 'SCRIPT-DONE'; do
  case "$out" in *"$expected"*) ;; *) echo "missing: $expected"; status=1 ;; esac
done
if cmp -s "$WINEPREFIX/before.reg" "$WINEPREFIX/after.reg"; then echo "registry as before"; else echo "registry changed"; status=1; fi
[ $status = 0 ] && echo "manager smoke test passed"
exit $status
