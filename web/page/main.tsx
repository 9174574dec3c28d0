import { render } from "preact";
import { App } from "./frame/app";
import { listenToKeys } from "./keys";
import { begin } from "./begin";

render(<App />, document.querySelector(".app")!);
listenToKeys(document);
begin();
