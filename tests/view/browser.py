"""A browser without a window, and what a person does in it."""

import os
import pathlib
import shutil
from collections.abc import Callable
from typing import Any

from selenium import webdriver
from selenium.common.exceptions import StaleElementReferenceException
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.remote.webelement import WebElement
from selenium.webdriver.support.wait import WebDriverWait

CHROMIUM = shutil.which('chromium')
DRIVER = shutil.which('chromedriver')
PATIENCE = int(os.environ.get('WICKERLANE_PATIENCE', '60'))


class Browser:
    def __init__(self, folder: pathlib.Path, language: str = 'en') -> None:
        options: Any = webdriver.ChromeOptions()
        options.binary_location = CHROMIUM or ''
        for argument in ('--headless=new', '--no-sandbox', '--disable-dev-shm-usage', '--hide-scrollbars',
                         f'--user-data-dir={folder}', f'--lang={language}'):
            options.add_argument(argument)
        options.add_experimental_option('prefs', {'intl.accept_languages': language})
        options.set_capability('goog:loggingPrefs', {'browser': 'ALL'})
        self.driver: Any = webdriver.Chrome(options=options, service=Service(DRIVER or ''))
        self.driver.set_script_timeout(PATIENCE)
        self.resize(1280, 800)

    def end(self) -> None:
        self.driver.quit()

    def resize(self, width: int, height: int, is_dark: bool = False, density: int = 1) -> None:
        self.driver.execute_cdp_cmd('Emulation.setDeviceMetricsOverride', {
            'width': width, 'height': height, 'deviceScaleFactor': density, 'mobile': False})
        self.driver.execute_cdp_cmd('Emulation.setEmulatedMedia', {'features': [
            {'name': 'prefers-color-scheme', 'value': 'dark' if is_dark else 'light'},
            {'name': 'prefers-reduced-motion', 'value': 'reduce'}]})

    def wait(self, condition: Callable[[], Any], what: str) -> Any:
        """The first value of the condition that is true."""
        return WebDriverWait(self.driver, PATIENCE, poll_frequency=0.05,
                             ignored_exceptions=[StaleElementReferenceException]).until(lambda _: condition(), what)

    def run(self, script: str, *values: object) -> Any:
        return self.driver.execute_script(script, *values)

    def module(self, body: str, *values: object) -> Any:
        """What an asynchronous function of the page with this body returns."""
        result = self.driver.execute_async_script(
            'const [end, ...values] = [arguments[arguments.length - 1], ...[...arguments].slice(0, -1)];'
            f'(async (values) => {{ {body} }})(values).then((value) => end([value]), (error) => end(String(error)));',
            *values)
        assert isinstance(result, list), result
        return result[0]

    def all(self, selector: str) -> list[WebElement]:
        found: list[WebElement] = self.driver.find_elements(By.CSS_SELECTOR, selector)
        return found

    def one(self, selector: str) -> WebElement:
        """Waits until there is a visible one."""
        shown: WebElement = self.wait(lambda: self.one_or_none(selector), f'{selector} does not appear')
        return shown

    def one_or_none(self, selector: str) -> WebElement | None:
        return next((each for each in self.all(selector) if each.is_displayed()), None)

    def click(self, selector: str) -> None:
        """Tries again when the page replaces the element at that moment."""
        def press() -> bool:
            self.one(selector).click()
            return True
        self.wait(press, f'{selector} can not be clicked')

    def named(self, name: str, within: str = 'body') -> WebElement:
        """The visible button or link of that accessible name or text."""
        def find() -> WebElement | None:
            found = self.run('''
                return [...document.querySelectorAll(`${arguments[1]} :is(button, a)`)].filter((each) =>
                    each.getClientRects().length > 0 &&
                    (each.getAttribute('aria-label') ?? each.textContent).trim() === arguments[0])[0]''', name, within)
            return found if isinstance(found, WebElement) else None
        found: WebElement = self.wait(find, f'there is no {name}')
        return found

    def actions(self, duration: int = 0) -> Any:
        make: Any = ActionChains
        return make(self.driver, duration=duration)

    def press(self, *keys: str) -> None:
        """One after another, where the focus is."""
        for key in keys:
            self.actions().send_keys(key).perform()

    def chord(self, modifier: str, key: str) -> None:
        self.actions().key_down(modifier).send_keys(key).key_up(modifier).perform()

    def click_with(self, modifier: str, element: WebElement) -> None:
        self.actions().key_down(modifier).click(element).key_up(modifier).perform()

    def drop(self, path: pathlib.Path) -> None:
        """Drops a file or folder in the middle of the page, as from a file manager."""
        for event in ('dragEnter', 'dragOver', 'drop'):
            self.driver.execute_cdp_cmd('Input.dispatchDragEvent', {
                'type': event, 'x': 600, 'y': 400,
                'data': {'items': [], 'files': [str(path)], 'dragOperationsMask': 1}})

    # What the page shows.

    def cells(self) -> list[dict[str, Any]]:
        """The assets in the window, in order: their names, positions, and whether a picture is there."""
        cells: list[dict[str, Any]] = self.run('''
            return [...document.querySelectorAll('.cell')].map((cell) => {
                const {left, top, width, height} = cell.getBoundingClientRect();
                return {name: cell.getAttribute('aria-label'), id: cell.asset?.id, index: cell.index,
                        left, top, width, height, isSelected: cell.classList.contains('selected'),
                        isLoaded: cell.picture.classList.contains('loaded') && cell.picture.width > 0};
            }).filter(({top, height}) => top + height > 0 && top < innerHeight)''')
        return cells

    def wait_for_grid(self) -> list[dict[str, Any]]:
        """Waits until each asset in the window shows its picture."""
        def check() -> list[dict[str, Any]] | None:
            cells = self.cells()
            return cells if cells and all(each['isLoaded'] for each in cells) else None
        cells: list[dict[str, Any]] = self.wait(check, 'the pictures do not appear')
        return cells

    def wait_for_sharp_grid(self) -> None:
        """Waits until each picture in the window is as sharp as its place."""
        self.wait_for_grid()
        self.wait(lambda: self.run('''
            return [...document.querySelectorAll('.cell')].every((cell) => {
                const {top, bottom, width, height} = cell.getBoundingClientRect();
                return bottom <= 0 || top >= innerHeight || cell.density >= devicePixelRatio ||
                    Math.max(width, height) * devicePixelRatio <= 256;
            })'''), 'the pictures do not get sharp')

    def cell(self, index: int) -> WebElement:
        """Of an asset in the window, by its place in the timeline."""
        def find() -> WebElement | None:
            found: WebElement | None = self.run("return [...document.querySelectorAll('.cell')].find((each) => "
                                                "each.index === arguments[0] && each.asset)", index)
            return found
        cell: WebElement = self.wait(find, f'asset {index} is not in the window')
        return cell

    def toast(self, part: str) -> WebElement:
        toast: WebElement = self.wait(lambda: next((each for each in self.all('.toast') if part in each.text), None),
                                      f'nothing says {part}')
        return toast

    def large_picture(self) -> dict[str, Any] | None:
        """The size and address of the picture in the large view, once it is there."""
        picture: dict[str, Any] | None = self.run('''
            const image = document.querySelector('.viewer:not([hidden]) .shot img');
            return image?.complete && image.naturalWidth > 0 ?
                {width: image.naturalWidth, height: image.naturalHeight, src: image.src} : null''')
        return picture

    def faults(self) -> list[str]:
        """What the browser complained about; failed requests are the tests' own doing."""
        return [each['message'] for each in self.driver.get_log('browser')
                if each['level'] == 'SEVERE' and 'Failed to load resource' not in each['message']]


ENTER, ESCAPE, SPACE, TAB, END, HOME = Keys.ENTER, Keys.ESCAPE, Keys.SPACE, Keys.TAB, Keys.END, Keys.HOME
LEFT, RIGHT, UP, DOWN, DELETE = Keys.ARROW_LEFT, Keys.ARROW_RIGHT, Keys.ARROW_UP, Keys.ARROW_DOWN, Keys.DELETE
CONTROL, SHIFT = Keys.CONTROL, Keys.SHIFT
