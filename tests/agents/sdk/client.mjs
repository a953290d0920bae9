// Talks to brindlemoor-mcp as an agent does, through the official MCP SDK's
// client over standard input and output, and prints what it saw as one JSON
// object. Usage: node client.mjs SERVER CAPTURE_ID. The server gets this
// script's environment, so the caller chooses its library.
import { Client } from "@modelcontextprotocol/sdk/client/index.js";
import { StdioClientTransport } from "@modelcontextprotocol/sdk/client/stdio.js";

const [server, captureID] = process.argv.slice(2);
const transport = new StdioClientTransport({ command: server, env: process.env, stderr: "inherit" });
const client = new Client({ name: "brindlemoor-sdk-test", version: "1.0.0" });
await client.connect(transport);

const answer = (result) => ({
  types: result.content.map((item) => item.type),
  text: result.content.map((item) => item.text).join(""),
  isError: result.isError ?? false,
});
const call = async (name, args) => answer(await client.callTool({ name, arguments: args }));

const summary = {
  serverInfo: client.getServerVersion(),
  tools: (await client.listTools()).tools.map((tool) => ({
    name: tool.name,
    properties: Object.keys(tool.inputSchema.properties ?? {}).sort(),
    required: tool.inputSchema.required ?? [],
  })),
  search: await call("search_brindlemoor", { query: "lemon", limit: 5 }),
  recent: await call("recent_captures", { kind: "recipe" }),
  capture: await call("get_capture", { id: captureID }),
  collections: await call("list_collections", {}),
  missing: await call("get_capture", { id: "no-such-id" }),
};
await client.ping();
await client.close();
console.log(JSON.stringify(summary));
