"""Installs a build below a folder of its own and uses it as an application outside the tree would: by pkg-config,
by the CMake package, and each installed header by itself."""

import argparse
import concurrent.futures
import contextlib
import os
import pathlib
import plistlib
import re
import select
import shutil
import signal
import subprocess
import sys
import tempfile

arguments = argparse.ArgumentParser()
for name in ('build', 'cmake', 'generator', 'cc', 'cxx'):
    arguments.add_argument('--' + name, required=True)
options = arguments.parse_args()
here = pathlib.Path(__file__).parent
MANUAL = here.parent.parent / 'docs/man/libwickerlane.3.scd'
launcher = [path for path in [shutil.which('ccache')] if path]


def run(*command, **more):
    """The command's output. A command that fails ends the test with what it said."""
    result = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                            text=True, check=False, **more)
    if result.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}\n{result.stdout}")
    return result.stdout


def check_application(program, environment, expected):
    output = run(program, env=environment)
    assert output == f'photos: {expected}\npicture: a PNG\n', output


def check_kit(program, environment):
    """The test of an application asks no daemon but its own."""
    output = run(program, env=environment)
    assert output == 'version: 7\n', output


def leave_analyses_out(root):
    """The daemon is started by the installed description, so that no option can say it."""
    preferences = root / 'var/mobile/Library/Preferences'
    preferences.mkdir(parents=True)
    (preferences / 'org.wickerlane.hoardd.plist').write_bytes(plistlib.dumps({'AnalyzesUnasked': 0}))


def end_daemon(root):
    """Ends the daemon that the application started, by the process id in the library's lock."""
    process = int((root / 'var/mobile/Media/PhotoData/hoardd.lock').read_text(encoding='utf-8'))
    # On a slow machine it has had nothing to do for so long that it has ended.
    with contextlib.suppress(ProcessLookupError), os.fdopen(os.pidfd_open(process)) as pidfd:
        signal.pidfd_send_signal(pidfd.fileno(), signal.SIGTERM)
        select.select([pidfd], [], [], 60)


def build_with_pkg_config(folder, module, environment):
    """The program that was built."""
    flags = run('pkg-config', '--cflags', '--libs', module, env=environment).split()
    run(*launcher, options.cxx, '-std=c++20', '-c', folder / 'main.cpp', '-o', folder / 'main.o', *flags, cwd=folder)
    run(options.cxx, folder / 'main.o', '-o', folder / 'by-pkg-config', *flags)
    return folder / 'by-pkg-config'


def build_with_cmake(folder, prefix):
    """The program that was built."""
    build = folder / 'build'
    run(options.cmake, '-G', options.generator, '-S', folder, '-B', build, f'-DCMAKE_PREFIX_PATH={prefix}',
        f'-DCMAKE_CXX_COMPILER={options.cxx}')
    run(options.cmake, '--build', build)
    return build / folder.name


def build_examples(examples, build, prefix, environment):
    """As the guides say it, from what is installed."""
    run(options.cmake, '-G', options.generator, '-S', examples, '-B', build, f'-DCMAKE_PREFIX_PATH={prefix}',
        f'-DCMAKE_C_COMPILER={options.cc}', f'-DCMAKE_CXX_COMPILER={options.cxx}')
    run(options.cmake, '--build', build)
    assert len(run(build / 'list', env=environment).splitlines()) == 2


def check_manual(top, prefix, environment):
    """libwickerlane(3): what it includes, the commands by which it builds, and its CMake, as they stand there."""
    page = MANUAL.read_text(encoding='utf-8')
    synopsis, by_cmake = re.findall(r'^```\n(.*?)^```$', page, re.MULTILINE | re.DOTALL)
    in_c, in_cpp = re.findall(r'^#include .*$', synopsis, re.MULTILINE)
    commands = re.findall(r'^c.*$', synopsis, re.MULTILINE)
    assert len(commands) == 2, commands
    folder, tools = top / 'program', top / 'tools'
    folder.mkdir()
    tools.mkdir()
    (folder / 'program.c').write_text(in_c + '\nint main(void) { WLScopePop(WLScopePush()); return 0; }\n',
                                      encoding='utf-8')
    (folder / 'program.cpp').write_text(in_cpp + '\n' + in_c + '\nint main() { return JXGatekeeperClient::'
                                        'sharedInstance() == nullptr; }\n', encoding='utf-8')
    for name, compiler in (('cc', options.cc), ('c++', options.cxx)):
        (tools / name).symlink_to(compiler)
    path = f"{tools}:{environment['PATH']}"
    for command in commands:
        run('sh', '-c', command, cwd=folder, env={**environment, 'PATH': path})
        run(folder / 'program', env=environment)
    (folder / 'CMakeLists.txt').write_text('cmake_minimum_required(VERSION 3.25)\nproject(program LANGUAGES CXX)\n'
                                           f'add_executable(program program.cpp)\n{by_cmake}', encoding='utf-8')
    run(build_with_cmake(folder, prefix), env=environment)
    shown, = re.findall(r'\*(pydoc3 [^*]+)\*', page)
    package, = prefix.rglob('wickerlane/__init__.py')
    assert 'class Library' in run(*shown.split(), env={**environment, 'PYTHONPATH': str(package.parents[1])})


def check_python(prefix, environment, expected):
    """The package finds the library by its own place, and both are those that were installed."""
    package, = prefix.rglob('wickerlane/__init__.py')
    program = '''
import importlib.metadata, pathlib, sys, wickerlane, wickerlane.testing
loaded = {line.split()[-1] for line in open('/proc/self/maps') if '/libwickerlane' in line}
known = importlib.metadata.distribution('wickerlane')
print(wickerlane.Library().count(), wickerlane.__file__, known.locate_file('wickerlane'), known.version,
      *sorted(loaded))
'''
    alone = {key: value for key, value in environment.items() if key not in ('LD_LIBRARY_PATH', 'WICKERLANE_LIBRARY')}
    count, file, known, version, *loaded = run(sys.executable, '-c', program,
                                               env={**alone, 'PYTHONPATH': package.parents[1]}).split()
    assert (count, file, known) == (str(expected), str(package), str(package.parent)), (count, file, known)
    assert version == run('pkg-config', '--modversion', 'wickerlane', env=environment).strip(), version
    assert len(loaded) == 2 and all(each.startswith(str(prefix) + '/') for each in loaded), loaded
    assert (package.parent / 'py.typed').exists()


def check_upgrade(prefix):
    """The note of another version that was installed there goes; those of other packages stay."""
    package, = prefix.rglob('wickerlane/__init__.py')
    folder = package.parents[1]
    current, = folder.glob('wickerlane-*.dist-info')
    others = [folder / f'{name}.dist-info'
              for name in ('wickerlane-0.0.1', 'wickerlane-99.0.0', 'wickerlane_frames-1.0')]
    for other in others:
        shutil.copytree(current, other)
    run(options.cmake, '--install', pathlib.Path(options.build) / 'python', '--prefix', prefix)
    assert set(folder.glob('*.dist-info')) == {current, others[2]}, list(folder.iterdir())


def compile_header(include, header, scratch):
    """What the compilers say about the header; nothing when it can be included by itself."""
    # A header that looks whether it is C++ that reads it promises to be C as well.
    languages = [('.cpp', options.cxx, '-std=c++20')]
    if '__cplusplus' in (include / header).read_text(encoding='utf-8'):
        languages.append(('.c', options.cc, '-std=c11'))
    said = ''
    for suffix, compiler, standard in languages:
        source = scratch / (header.replace('/', '-') + suffix)
        source.write_text(f'#include <{header}>\n', encoding='utf-8')
        command = [*launcher, compiler, standard, '-Wall', '-Wextra', '-Werror', f'-I{include}', '-c', source, '-o',
                   source.with_suffix(suffix + '.o')]
        result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False,
                                cwd=scratch)
        said += result.stdout or (f'{header}: the compiler failed\n' if result.returncode else '')
    return said


def check_headers(include, scratch):
    scratch.mkdir()
    headers = sorted(file.relative_to(include).as_posix() for file in include.rglob('*.h'))
    # What reads a store beside the daemon is not for applications.
    of_store = [each for each in headers if each.startswith('wickerlane/store/')]
    assert of_store == ['wickerlane/store/LibraryPaths.h', 'wickerlane/store/ObjectStore.h'], of_store
    assert len(headers) > 20, headers
    assert not [header for header in headers if header.endswith('Internal.h')]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        faults = [said for said in pool.map(lambda header: compile_header(include, header, scratch), headers) if said]
    if faults:
        sys.exit('headers that cannot be included by themselves:\n' + '\n'.join(faults))


def main():
    with tempfile.TemporaryDirectory(prefix='wickerlane-install-') as made:
        top = pathlib.Path(made)
        prefix = top / 'usr'
        # What is the same wherever it is installed is compiled once.
        os.environ.update(CCACHE_BASEDIR=made, CCACHE_NOHASHDIR='true')
        for language in ('C', 'CXX') if launcher else ():
            os.environ[f'CMAKE_{language}_COMPILER_LAUNCHER'] = launcher[0]
        run(options.cmake, '--install', options.build, '--prefix', prefix)
        folder, kit = (shutil.copytree(here / name, top / name) for name in ('application', 'kit'))
        pkgconfig = next(prefix.rglob('wickerlane.pc')).parent
        environment = {**os.environ, 'PKG_CONFIG_PATH': str(pkgconfig), 'LD_LIBRARY_PATH': str(pkgconfig.parent),
                       'WICKERLANE_ROOT': str(top / 'root')}
        leave_analyses_out(top / 'root')
        try:
            check_application(build_with_pkg_config(folder, 'wickerlane', environment), environment, 1)
            check_application(build_with_cmake(folder, prefix), environment, 2)
            check_python(prefix, environment, 2)
            check_upgrade(prefix)
            build_examples(next(prefix.rglob('first.c')).parent, top / 'examples', prefix, environment)
            check_manual(top, prefix, environment)
        finally:
            end_daemon(top / 'root')
        check_kit(build_with_pkg_config(kit, 'wickerlane-testing', environment), environment)
        check_kit(build_with_cmake(kit, prefix), environment)
        check_headers(prefix / 'include', top / 'headers')


main()
