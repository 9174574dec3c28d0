import { render } from "preact";
import { App } from "./frame/app";
import { begin } from "./begin";
import { commands } from "./commands";
import { findKeyFaults } from "./key_names";
import { listenToKeys } from "./keys";

render(<App />, document.querySelector(".app")!);
listenToKeys(document);
// a mistake of ours, which every test of the page sees
for (const fault of findKeyFaults(commands)) console.error(fault);
begin();
