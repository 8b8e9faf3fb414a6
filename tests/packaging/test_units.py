"""The units of hoardd make sense to systemd, hold hoardd to little, and belong together.

    test_units.py BUILT-UNITS HOARDD
"""

import configparser
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

UNITS, HOARDD = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
SERVICE = 'org.wickerlane.hoardd.Gatekeeper'
SKIPPED = 77
MOST_EXPOSURE = 2.0 # of 10, as systemd-analyze counts

# What a user's service manager can do only in a user namespace, from within which the kernel does not tell hoardd which
# programs its clients run, or not at all.
BEYOND_USERS = {
    'DeviceAllow', 'IPAddressDeny', 'PrivateDevices', 'PrivateMounts', 'PrivateNetwork', 'PrivateTmp', 'PrivateUsers',
    'ProcSubset', 'ProtectClock', 'ProtectControlGroups', 'ProtectHome', 'ProtectHostname', 'ProtectKernelLogs',
    'ProtectKernelModules', 'ProtectKernelTunables', 'ProtectProc', 'ProtectSystem', 'RootDirectoryOrRootImage',
    'UserOrDynamicUser'}

if shutil.which('systemd-analyze') is None:
    print('skipped: no systemd-analyze')
    sys.exit(SKIPPED)


def analyze(*arguments: str | pathlib.Path) -> subprocess.CompletedProcess[str]:
    return subprocess.run(['systemd-analyze', *map(str, arguments)], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          text=True, check=False, env={**os.environ, 'XDG_RUNTIME_DIR': str(folder)})


def read(unit: pathlib.Path) -> configparser.RawConfigParser:
    parser = configparser.RawConfigParser(strict=False)
    parser.optionxform = str # type: ignore[assignment]
    parser.read(unit)
    return parser


def exposure_of(unit: pathlib.Path, *options: str | pathlib.Path) -> float:
    result = analyze('security', '--offline=true', '--no-pager', *options, unit)
    # Such as "Overall exposure level for hoardd.service: 1.6 OK", and a smiley with a colon in it.
    found = re.search(r'Overall exposure level for .*?: (\d+\.\d+) ', result.stdout)
    assert found, result.stdout + result.stderr
    return float(found[1])


def policy_of_users(unit: pathlib.Path) -> pathlib.Path:
    """A policy that leaves out what is beyond users, whose processes have no capabilities besides."""
    fields = [each['json_field'] for each in json.loads(
        analyze('security', '--offline=true', '--json=short', unit).stdout)]
    assert BEYOND_USERS <= set(fields), BEYOND_USERS - set(fields)
    policy = folder / 'policy.json'
    policy.write_text(json.dumps({field: {'weight': 0} for field in fields
                                  if field in BEYOND_USERS or field.startswith('CapabilityBoundingSet_')}))
    return policy


faults = []
with tempfile.TemporaryDirectory() as made:
    folder = pathlib.Path(made)
    for scope in 'user', 'system':
        copies = folder / scope
        copies.mkdir()
        for name in 'hoardd.socket', 'hoardd.service':
            unit = read(UNITS / scope / name)
            text = (UNITS / scope / name).read_text()
            if unit.has_option('Service', 'ExecStart'): # which is installed elsewhere
                text = text.replace(f'ExecStart={unit["Service"]["ExecStart"]}', f'ExecStart={HOARDD}')
            (copies / name).write_text(text)
        # It also complains of units of others that it meets.
        verified = analyze(f'--{scope}', '--man=no', '--recursive-errors=no', 'verify', copies / 'hoardd.socket',
                           copies / 'hoardd.service')
        complaints = [line for line in verified.stderr.splitlines() if 'hoardd' in line]
        if verified.returncode != 0 or complaints:
            faults.append(f'{scope}: systemd-analyze verify: {verified.stderr}')

        service = copies / 'hoardd.service'
        options = ['--security-policy', str(policy_of_users(service))] if scope == 'user' else []
        exposure = exposure_of(service, *options)
        print(f'{scope}: exposure {exposure}')
        if exposure > MOST_EXPOSURE:
            faults.append(f'{scope}: exposure {exposure}, more than {MOST_EXPOSURE}')

        # Clients look for the socket, or a link to it, below the root that the service is given.
        settings = read(service)['Service']
        root = settings['Environment'].removeprefix('WICKERLANE_ROOT=')
        socket = read(copies / 'hoardd.socket')['Socket']
        found = socket.get('Symlinks', socket['ListenStream'])
        if found != f'{root}/var/run/wickerlane/services/{SERVICE}':
            faults.append(f'{scope}: the socket {found} is not below the root {root}')
        if settings['Type'] != 'notify':
            faults.append(f'{scope}: systemd does not wait until hoardd is ready')
        for key in settings:
            if scope == 'user' and any(field in key for field in BEYOND_USERS):
                faults.append(f'{scope}: {key} would hide the programs of clients from hoardd')
        if 'PrivateUsers' in settings:
            faults.append(f'{scope}: PrivateUsers hides the programs of clients from hoardd')
sys.exit('\n'.join(faults) or 0)
